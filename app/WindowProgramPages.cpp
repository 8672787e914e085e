#include "app/WindowProgram.h"
#include "platform/browser/DragPasteboard.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// What keys do in place of the mouse: pages go from pane to pane as a drag takes them.

namespace quillorn {

namespace {

/// A drop of the pages in the drag's list.
class DropOfPages final : public DraggingInfo {
public:
    DropOfPages() { m_pasteboard.declareTypes({std::string(pasteboard_type::pages)}); }
    [[nodiscard]] const Pasteboard& draggingPasteboard() const override { return m_pasteboard; }
    [[nodiscard]] bool startedHere() const override { return false; }

private:
    DragPasteboard m_pasteboard;
};

} // namespace

const BrowserPane& WindowProgram::focusedPane() {
    return m_window.isOutputFocused() ? static_cast<BrowserPane&>(*m_output)
                                      : static_cast<BrowserPane&>(*m_source);
}

PaneView& WindowProgram::focusedView() {
    return m_window.isOutputFocused() ? m_window.outputPane() : m_window.sourcePane();
}

bool WindowProgram::hasSelectedPage() {
    const PageItems& items = focusedPane().images();
    // No further than the first page: a hundred thousand may be selected. While the pane is built
    // anew, the browser may still have selected what is gone.
    for (const BrowserRange& range : focusedView().browser().selection().ranges()) {
        for (std::size_t index = range.first; index < std::min(range.end, items.size()); ++index) {
            if (!isPlaceholder(*items[index])) {
                return true;
            }
        }
    }
    return false;
}

void WindowProgram::copyPages() {
    PageItems pages = realPages(
        itemsAtIndexes(focusedPane().images(), focusedView().browser().selectionIndexes()));
    if (!pages.empty()) {
        m_dragPagesArray.replace(std::move(pages));
        refreshActions();
    }
}

void WindowProgram::pastePages() {
    const auto items = m_dragPagesArray.items();
    if (!items || items->empty()) {
        return;
    }
    // Behind the pages that are selected; without a selection, at the end of the last group.
    PaneBrowser& browser = m_window.outputPane().browser();
    const IndexSet selection = browser.selectionIndexes();
    const auto place = [this, &selection]() {
        return selection.empty() ? m_output->images().size() : selection.back() + 1;
    };
    const std::size_t before = m_output->images().size();
    browser.setDropIndex(place);
    m_output->performDragOperation(DropOfPages());
    browser.setDropIndex({});

    // What came in is selected, so that what is added next follows it. It stands where it was
    // dropped, or in the place of the group's placeholder.
    const std::size_t after = m_output->images().size();
    const std::size_t count = items->size();
    if (after < count) {
        return;
    }
    const std::size_t end = selection.empty() ? after : selection.back() + 1 + (after - before);
    IndexSet added;
    for (std::size_t index = end - count; index < end; ++index) {
        added.push_back(index);
    }
    browser.setSelectionIndexes(added, false);
}

void WindowProgram::addToOutput() {
    const IndexSet selection = m_window.sourcePane().browser().selectionIndexes();
    if (!selection.empty()) {
        m_dragPagesArray.replace(itemsAtIndexes(m_source->images(), selection));
        pastePages();
    }
}

void WindowProgram::addToNewGroup() {
    const std::size_t groups = m_output->groupArray().size();
    m_output->addNewGroup();
    if (m_output->groupArray().size() > groups) {
        m_window.outputPane().browser().setSelectionIndexes({}, false); // at its end: the new group
        addToOutput();
    }
}

} // namespace quillorn
