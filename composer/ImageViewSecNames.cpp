#include "composer/ImageViewSec.h"

#include "model/FileNames.h"

// The sheets that name a group.

namespace quillorn {

void ImageViewSec::runSheet(Sheet& sheet) {
    sheet.runModal();
    sheet.orderOut();
}

void ImageViewSec::endSheet(Sheet& sheet) {
    sheet.stopModal();
    sheet.orderOut();
}

void ImageViewSec::addNewGroup() {
    runSheet(m_outlets.groupNameWindow);
}

void ImageViewSec::clickSureBtn(Sheet& sender) {
    getGroupName(m_outlets.groupNameText.stringValue() + m_outlets.extentionName.stringValue());
    endSheet(sender); // also when the name was refused
}

void ImageViewSec::clickConcelBtn(Sheet& sender) {
    endSheet(sender);
}

void ImageViewSec::itemChangePDFName() {
    modifySelectTextName();
    runSheet(m_outlets.changeNameWindow);
}

void ImageViewSec::modifySelectTextName() {
    const IndexSet selection = browser().selectionIndexes();
    if (!selection.empty()) {
        m_outlets.changeNameText.setStringValue(
            baseName(images().at(selection.front())->imagePath()));
    }
}

void ImageViewSec::clickChangeSureBtn(Sheet& sender) {
    const std::string name =
        m_outlets.changeNameText.stringValue() + m_outlets.extentionName.stringValue();
    if (!acceptsName(name)) {
        return; // and the sheet stays open for another
    }
    const IndexSet selection = browser().selectionIndexes();
    if (selection.empty()) {
        return;
    }
    if (const auto group = groupOfPath(images().at(selection.front())->imagePath())) {
        clearAllData();
        // The working file keeps its name: it only serves the placeholder.
        m_addPDFFileName[*group] = name;
        loadData();
        browser().expandGroupAtIndex(*group);
    }
    endSheet(sender);
}

} // namespace quillorn
