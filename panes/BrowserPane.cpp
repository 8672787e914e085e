#include "panes/BrowserPane.h"

#include "panes/BackgroundLayers.h"

#include <cstdlib>
#include <iterator>
#include <utility>

namespace quillorn {

namespace {

constexpr double zoomStep = 0.1;

/// A random colour. The largest draw makes slightly more than 1, which is clamped in drawing.
BrowserColor randomGroupColor() {
    constexpr double scale = 5e-10;
    const int first = std::rand();
    const int second = std::rand();
    const int third = std::rand();
    return BrowserColor{static_cast<float>(third * scale), static_cast<float>(second * scale),
                        static_cast<float>(first * scale)};
}

} // namespace

BrowserPane::BrowserPane(const BrowserPaneOutlets& outlets) : m_outlets(outlets) {}

void BrowserPane::connectBrowser(bool animates) {
    browser().setDataSource(this);
    browser().setDelegate(this);
    browser().setAnimates(animates);
    browser().setAllowsReordering(true);
    browser().setDraggingDestinationDelegate(this);
}

std::size_t BrowserPane::numberOfItemsInImageBrowser(const ImageBrowser& /*browser*/) {
    return m_images.size();
}

ImageBrowserItem BrowserPane::imageBrowserItemAtIndex(const ImageBrowser& /*browser*/,
                                                      std::size_t index) {
    const PageItem& item = *m_images.at(index);
    return ImageBrowserItem{item.imageUID(), item.imageTitle(), item.imageRepresentation()};
}

std::size_t BrowserPane::numberOfGroupsInImageBrowser(const ImageBrowser& /*browser*/) {
    return m_groupArray.size();
}

ImageBrowserGroup BrowserPane::imageBrowserGroupAtIndex(const ImageBrowser& /*browser*/,
                                                        std::size_t index) {
    return m_groupArray.at(index);
}

void BrowserPane::imageBrowserSelectionDidChange(ImageBrowser& /*browser*/) {
    judgeClearMenu();
}

void BrowserPane::imageBrowserCellWasDoubleClickedAtIndex(ImageBrowser& /*browser*/,
                                                          std::size_t /*index*/) {}

void BrowserPane::imageBrowserBackgroundWasRightClicked(ImageBrowser& /*browser*/) {}

void BrowserPane::imageBrowserCellWasRightClickedAtIndex(ImageBrowser& /*browser*/,
                                                         std::size_t /*index*/) {}

void BrowserPane::createNewGroupForChar(const std::string& title, std::int32_t start,
                                        std::int32_t length, const BrowserColor& color) {
    ImageBrowserGroup group;
    group.range = {static_cast<std::size_t>(start), static_cast<std::size_t>(start + length)};
    group.style = m_groupingStyle;
    group.title = title;
    group.backgroundColor = color;
    m_groupArray.push_back(std::move(group));
}

void BrowserPane::groupImages() {
    const auto pending = static_cast<std::int32_t>(m_importedImages.size());
    for (std::int32_t i = 0; i < m_pdfFileNumber; ++i) {
        createNewGroupForChar(m_pdfFileName.at(static_cast<std::size_t>(i)), m_rangeStart, pending,
                              randomGroupColor());
        m_rangeStart += pending;
    }
    m_pdfFileName.clear();
    m_pdfFileNumber = 0;
}

void BrowserPane::zoomSliderDidChange() {
    browser().setZoomValue(m_outlets.slider.floatValue());
    browser().setNeedsDisplay();
}

void BrowserPane::zoomIn() {
    m_outlets.zoomOut.setEnabled(true);
    const float value = m_outlets.slider.floatValue();
    if (m_outlets.slider.maxValue() > static_cast<double>(value)) {
        const auto next = static_cast<float>(static_cast<double>(value) + zoomStep);
        browser().setZoomValue(next);
        m_outlets.slider.setFloatValue(next);
    } else {
        m_outlets.zoomIn.setEnabled(false);
    }
    browser().setNeedsDisplay();
}

void BrowserPane::zoomOut() {
    m_outlets.zoomIn.setEnabled(true);
    const float value = m_outlets.slider.floatValue();
    if (static_cast<double>(value) > m_outlets.slider.minValue()) {
        const auto next = static_cast<float>(static_cast<double>(value) - zoomStep);
        browser().setZoomValue(next);
        m_outlets.slider.setFloatValue(next);
    } else {
        m_outlets.zoomOut.setEnabled(false);
    }
    browser().setNeedsDisplay();
}

void BrowserPane::collapseAllGroups() {
    for (std::size_t i = 0; i < m_groupArray.size(); ++i) {
        browser().collapseGroupAtIndex(i);
    }
}

void BrowserPane::expandAllGroups() {
    for (std::size_t i = 0; i < m_groupArray.size(); ++i) {
        browser().expandGroupAtIndex(i);
    }
}

bool BrowserPane::isExpandedOfGroup() const {
    return m_groupArray.empty() || browser().isGroupExpandedAtIndex(0);
}

void BrowserPane::exAcoAllGroups() {
    if (isExpandedOfGroup()) {
        collapseAllGroups();
    } else {
        expandAllGroups();
    }
}

void BrowserPane::setBackColor() {
    browser().setBackgroundLayer(std::make_shared<ColorLayer>(paneBackgroundColor, browser()));
    const std::shared_ptr<PictureLayer> picture = newPictureLayer();
    browser().setForegroundLayer(picture);
    picture->setOwner(&browser());
}

void BrowserPane::removeBackColor() {
    browser().setForegroundLayer(nullptr);
}

void BrowserPane::appendImported(std::shared_ptr<PageItem> item) {
    m_importedImages.push_back(std::move(item));
}

void BrowserPane::appendTitle(std::string title) {
    m_pdfFileName.push_back(std::move(title));
    ++m_pdfFileNumber;
}

void BrowserPane::showImported() {
    m_images.insert(m_images.end(), std::make_move_iterator(m_importedImages.begin()),
                    std::make_move_iterator(m_importedImages.end()));
    m_importedImages.clear();
}

void BrowserPane::clearShown() {
    m_groupArray.clear();
    m_images.clear();
    m_rangeStart = 0;
    judgeClearMenu();
    browser().reloadData();
}

DragOperation BrowserPane::enterLastGroup() {
    // Without groups this names a group that is not there: it counts as collapsed, and a drag over
    // an empty pane is accepted from its second move on.
    const std::size_t last = m_groupArray.size() - 1;
    if (browser().isGroupExpandedAtIndex(last)) {
        return DragOperation::copy;
    }
    browser().expandGroupAtIndex(last);
    return DragOperation::none;
}

} // namespace quillorn
