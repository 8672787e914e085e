#include "tests/fakes/FakeImageBrowser.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>

namespace quillorn::tests {

void FakeImageBrowser::reloadData() {
    ++m_reloads;
    ASSERT_NE(m_dataSource, nullptr) << "reloadData before a data source was set";
    m_items.clear();
    const std::size_t items = m_dataSource->numberOfItemsInImageBrowser(*this);
    for (std::size_t i = 0; i < items; ++i) {
        m_items.push_back(m_dataSource->imageBrowserItemAtIndex(*this, i));
    }
    m_groups.clear();
    const std::size_t groups = m_dataSource->numberOfGroupsInImageBrowser(*this);
    for (std::size_t i = 0; i < groups; ++i) {
        m_groups.push_back(m_dataSource->imageBrowserGroupAtIndex(*this, i));
    }
    m_expanded.resize(groups, true);
    const std::size_t selected = m_selection.size();
    std::erase_if(m_selection, [items](std::size_t index) { return index >= items; });
    if (m_selection.size() != selected && m_delegate != nullptr) {
        m_delegate->imageBrowserSelectionDidChange(*this);
    }
}

void FakeImageBrowser::setSelectionIndexes(const IndexSet& indexes, bool byExtendingSelection) {
    IndexSet selection = byExtendingSelection ? m_selection : IndexSet();
    selection.insert(selection.end(), indexes.begin(), indexes.end());
    std::ranges::sort(selection);
    selection.erase(std::unique(selection.begin(), selection.end()), selection.end());
    for (const std::size_t index : selection) {
        EXPECT_LT(index, m_items.size()) << "selected an item that is not there";
    }
    if (selection != m_selection) {
        m_selection = selection;
        if (m_delegate != nullptr) {
            m_delegate->imageBrowserSelectionDidChange(*this);
        }
    }
}

void FakeImageBrowser::collapseGroupAtIndex(std::size_t group) {
    if (group < m_expanded.size()) {
        m_expanded[group] = false;
    }
}

void FakeImageBrowser::expandGroupAtIndex(std::size_t group) {
    m_expandRequests.push_back(group);
    if (group < m_expanded.size()) {
        m_expanded[group] = true;
    }
}

bool FakeImageBrowser::isGroupExpandedAtIndex(std::size_t group) const {
    return group < m_expanded.size() && m_expanded[group];
}

std::size_t FakeImageBrowser::indexAtLocationOfDroppedItem() const {
    return m_dropIndex.value_or(m_items.size());
}

std::vector<std::string> FakeImageBrowser::titles() const {
    std::vector<std::string> titles;
    std::ranges::transform(m_items, std::back_inserter(titles), &ImageBrowserItem::title);
    return titles;
}

std::vector<std::string> FakeImageBrowser::titlesOfGroup(std::size_t group) const {
    std::vector<std::string> titles;
    const BrowserRange range = m_groups.at(group).range;
    for (std::size_t i = range.first; i < range.end; ++i) {
        titles.push_back(m_items.at(i).title);
    }
    return titles;
}

std::vector<std::string> FakeImageBrowser::groupTitles() const {
    std::vector<std::string> titles;
    std::ranges::transform(m_groups, std::back_inserter(titles), &ImageBrowserGroup::title);
    return titles;
}

std::string FakeImageBrowser::expansion() const {
    std::string text;
    for (const bool expanded : m_expanded) {
        text += expanded ? '+' : '-';
    }
    return text;
}

FakePasteboard FakePasteboard::ofFiles(const std::vector<std::string>& paths) {
    FakePasteboard pasteboard;
    pasteboard.declareTypes({std::string(pasteboard_type::filenames)});
    pasteboard.setPropertyListForType(paths, pasteboard_type::filenames);
    return pasteboard;
}

void FakePasteboard::declareTypes(const std::vector<std::string>& types) {
    m_types = types;
    m_lists.clear();
}

void FakePasteboard::setPropertyListForType(const std::vector<std::string>& list,
                                            std::string_view type) {
    EXPECT_NE(std::ranges::find(m_types, type), m_types.end()) << type << " was not declared";
    m_lists[std::string(type)] = list;
}

std::vector<std::string> FakePasteboard::propertyListForType(std::string_view type) const {
    const auto found = m_lists.find(type);
    return found == m_lists.end() ? std::vector<std::string>() : found->second;
}

} // namespace quillorn::tests
