#pragma once

#include "platform/browser/ImageBrowserView.h"
#include "tests/platform/browser/ScriptedBrowserData.h"

#include <QApplication>
#include <QDrag>
#include <QPointer>
#include <QTest>
#include <cstddef>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace quillorn {

/// Notes what it is told.
class ListeningDelegate : public ImageBrowserDelegate {
public:
    void imageBrowserSelectionDidChange(ImageBrowser& /*browser*/) override { ++selectionChanges; }
    void imageBrowserCellWasDoubleClickedAtIndex(ImageBrowser& /*browser*/,
                                                 std::size_t index) override {
        doubleClicked.push_back(index);
    }
    void imageBrowserBackgroundWasRightClicked(ImageBrowser& /*browser*/) override {
        ++backgroundRightClicks;
    }
    void imageBrowserCellWasRightClickedAtIndex(ImageBrowser& /*browser*/,
                                                std::size_t index) override {
        rightClicked.push_back(index);
    }

    int selectionChanges = 0;
    int backgroundRightClicks = 0;
    IndexSet doubleClicked;
    IndexSet rightClicked;
};

/// A browser whose drags last as long as the test's `whileDragging` runs.
class DraggableBrowser : public ImageBrowserView {
public:
    using ImageBrowserView::ImageBrowserView;
    std::function<void(QDrag&)> whileDragging;

protected:
    void runDrag(QDrag& drag) override {
        if (whileDragging) {
            whileDragging(drag);
        }
        drag.deleteLater();
    }
};

/// A browser in a window of 680 by 560 pixels that nobody sees, with 12 and 8 blank pages in two
/// groups until a test says otherwise.
class BrowserTesting : public testing::Test {
protected:
    BrowserTesting() {
        m_data.addGroup("Output 1", 12);
        m_data.addGroup("Output 2", 8);
        m_pictures = std::make_unique<PagePictures>(QUILLORN_RENDER_WORKER);
        m_view = std::make_unique<DraggableBrowser>(*m_pictures);
        m_view->resize(680, 560);
        m_view->setDelegate(&m_delegate);
        m_view->setDataSource(&m_data);
        m_view->show();
        m_view->activateWindow();
        m_view->setFocus();
        EXPECT_TRUE(QTest::qWaitForWindowActive(m_view.get()));
    }

    [[nodiscard]] QWidget* viewport() const { return m_view->viewport(); }
    [[nodiscard]] QPoint middleOf(std::size_t item) const {
        return m_view->viewportRect(m_view->layoutOfItems().itemRect(item)).center();
    }
    [[nodiscard]] QPoint headerOf(std::size_t group) const {
        return m_view->viewportRect(m_view->layoutOfItems().headerRect(group)).center();
    }
    /// Between the first rows of cells, right of all of them.
    [[nodiscard]] QPoint emptyPlace() const {
        const QRect first = m_view->viewportRect(m_view->layoutOfItems().itemRect(0));
        return {viewport()->width() - 3, first.bottom() + 4};
    }
    void click(QPoint place, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::mouseClick(viewport(), Qt::LeftButton, modifiers, place);
    }
    void press(int key, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::keyClick(m_view.get(), static_cast<Qt::Key>(key), modifiers);
    }
    [[nodiscard]] IndexSet selected() const { return m_view->selectionIndexes(); }
    [[nodiscard]] int scrolled() const { return m_view->visibleRect().y; }
    [[nodiscard]] bool isShown(std::size_t item) const {
        const BrowserRect rect = m_view->layoutOfItems().itemRect(item);
        const BrowserRect visible = m_view->visibleRect();
        return !rect.isEmpty() && rect.y >= visible.y && rect.bottom() <= visible.bottom();
    }
    /// The numbers from `first` up to, but without, `end`.
    static IndexSet range(std::size_t first, std::size_t end) {
        return BrowserSelection({first, end}).indexes();
    }

    ScriptedBrowserData m_data;
    ListeningDelegate m_delegate;
    std::unique_ptr<PagePictures> m_pictures;
    std::unique_ptr<DraggableBrowser> m_view;
};

} // namespace quillorn
