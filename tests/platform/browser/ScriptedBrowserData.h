#pragma once

#include "platform/browser/ImageBrowser.h"
#include "platform/pdf/PDFSource.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {

/// A data source with what a test put into it, that notes what the browser asks it to do.
class ScriptedBrowserData : public ImageBrowserDataSource {
public:
    /// A group of pages named "1-TITLE", "2-TITLE" and so on; without a source they are blank.
    void addGroup(const std::string& title, std::size_t count,
                  const std::shared_ptr<const PDFSource>& source = nullptr) {
        ImageBrowserGroup group;
        group.range = {m_items.size(), m_items.size() + count};
        group.title = title;
        const auto number = static_cast<float>(m_groups.size());
        group.backgroundColor = {0.85F - 0.22F * number, 0.45F, 0.3F + 0.2F * number};
        m_groups.push_back(group);
        for (std::size_t i = 0; i < count; ++i) {
            ImageBrowserItem item;
            item.uid = std::to_string(m_items.size());
            item.title = std::to_string(i + 1) + "-" + title;
            item.page = std::make_shared<PDFPage>();
            if (source != nullptr) {
                item.page = std::make_shared<PDFPage>(
                    PDFPageReference{source, i % source->pageCount(), 0, {}});
            }
            m_items.push_back(std::move(item));
        }
    }
    void clear() {
        m_items.clear();
        m_groups.clear();
    }
    [[nodiscard]] PDFPage& page(std::size_t index) { return *m_items.at(index).page; }

    [[nodiscard]] std::size_t numberOfItemsInImageBrowser(const ImageBrowser& /*b*/) override {
        return m_items.size();
    }
    [[nodiscard]] ImageBrowserItem imageBrowserItemAtIndex(const ImageBrowser& /*b*/,
                                                           std::size_t index) override {
        ++askedItems;
        return m_items.at(index);
    }
    [[nodiscard]] std::size_t numberOfGroupsInImageBrowser(const ImageBrowser& /*b*/) override {
        return m_groups.size();
    }
    [[nodiscard]] ImageBrowserGroup imageBrowserGroupAtIndex(const ImageBrowser& /*b*/,
                                                             std::size_t index) override {
        return m_groups.at(index);
    }
    bool imageBrowserMoveItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes,
                                        std::size_t toIndex) override {
        moved = indexes;
        movedTo = toIndex;
        dropIndexDuringMove = browser.indexAtLocationOfDroppedItem();
        return true;
    }
    void imageBrowserRemoveItemsAtIndexes(ImageBrowser& /*b*/, const IndexSet& indexes) override {
        removed = indexes;
    }
    [[nodiscard]] std::size_t imageBrowserWriteItemsAtIndexes(ImageBrowser& /*b*/,
                                                              const IndexSet& indexes,
                                                              Pasteboard& pasteboard) override {
        written = indexes;
        pasteboard.declareTypes(
            {std::string(pasteboard_type::pages), std::string(pasteboard_type::filenames)});
        pasteboard.setPropertyListForType(std::vector<std::string>(indexes.size(), "pdf"),
                                          pasteboard_type::filenames);
        return mayDrag ? indexes.size() : 0;
    }

    std::size_t askedItems = 0;
    IndexSet moved;
    std::size_t movedTo = 0;
    std::size_t dropIndexDuringMove = 0;
    IndexSet removed;
    IndexSet written;
    bool mayDrag = true;

private:
    std::vector<ImageBrowserItem> m_items;
    std::vector<ImageBrowserGroup> m_groups;
};

} // namespace quillorn
