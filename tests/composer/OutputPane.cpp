#include "tests/composer/OutputPane.h"

#include "model/FileNames.h"
#include "tests/fakes/TestPDF.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace quillorn::tests {

OutputPane::OutputPane() : OutputPane(nullptr, nullptr) {}

OutputPane::OutputPane(MainThread& mainThread, LongWork& work) : OutputPane(&mainThread, &work) {}

OutputPane::OutputPane(MainThread* mainThread, LongWork* work)
    : pane(ImageViewSecOutlets{controls.outlets(), deletePdfPage, changePDFName, iChangePDFName,
                               rotateRight, iRotateRight, rotateLeft, iRotateLeft, saveMenu,
                               btnSave, btnAddNewGroup, btnSavePath, groupNameWindow, groupNameText,
                               changeNameWindow, changeNameText, extentionName, saveToPDFWindow,
                               saveWindow},
           ImageViewSecServices{alerts, filePanels, preferences,
                                mainThread != nullptr ? *mainThread : threads, threads,
                                work != nullptr ? *work : longWork, statusLine, workspace,
                                dragPagesArray, home.path().string()}) {
    extentionName.m_value = ".pdf";
    std::filesystem::create_directories(cache());
    pane.awakeFromNib();
}

void OutputPane::drag(const std::string& name, std::size_t count) {
    const std::filesystem::path file =
        home / (name + std::to_string(sources.size()) + ".source.pdf");
    auto opened = PDFDocument::open(TestPDF(name, count).writeTo(file));
    if (!opened) {
        throw std::runtime_error("the source cannot be opened");
    }
    PageItems items;
    for (std::size_t i = 0; i < count; ++i) {
        const std::shared_ptr<PDFPage> page = (*opened)->pageAtIndex(i);
        page->setLabel(name + std::to_string(i + 1));
        items.push_back(std::make_shared<ImageItemFir>(file.string(), page));
    }
    sources.push_back(std::move(*opened));
    dragPagesArray.replace(std::move(items));
}

void OutputPane::dropAt(std::size_t index) {
    FakePasteboard pasteboard;
    writePageDrag(*dragPagesArray.items(), {}, pasteboard);
    controls.browser.dropAt(index);
    EXPECT_TRUE(pane.performDragOperation(FakeDrag(pasteboard)));
}

void OutputPane::addGroup(const std::string& name, std::size_t count) {
    pane.getGroupName(name);
    if (count > 0) {
        drag(name.substr(0, 1), count);
        dropAt(pane.images().size());
    }
}

void OutputPane::move(const IndexSet& indexes, std::size_t toIndex) {
    controls.browser.dropAt(toIndex);
    EXPECT_TRUE(pane.imageBrowserMoveItemsAtIndexes(controls.browser, indexes, toIndex));
}

std::vector<std::string> OutputPane::labels(std::size_t group) const {
    std::vector<std::string> labels;
    const PDFDocument& document = *pane.PDFArray().at(group);
    for (std::size_t i = 0; i < document.pageCount(); ++i) {
        labels.push_back(document.pageAtIndex(i)->label());
    }
    return labels;
}

std::string OutputPane::shown() const {
    std::string text;
    for (std::size_t i = 0; i < controls.browser.groups().size(); ++i) {
        text += (i == 0 ? "" : " | ") + controls.browser.groups()[i].title + ":";
        for (const std::string& title : controls.browser.titlesOfGroup(i)) {
            text += " " + title;
        }
    }
    return text;
}

} // namespace quillorn::tests
