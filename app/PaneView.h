#pragma once

#include "platform/browser/ImageBrowserView.h"
#include "platform/browser/PagePictures.h"

#include <QLabel>
#include <QRect>
#include <QSlider>
#include <QString>
#include <QWidget>
#include <cstddef>
#include <functional>
#include <optional>

namespace quillorn {

/// A browser that tells the window of changes, and lets keys drop pages into it.
class PaneBrowser final : public ImageBrowserView {
public:
    using ImageBrowserView::ImageBrowserView;

    /// After each reload of its contents.
    void setReloaded(std::function<void()> reloaded) { m_reloaded = std::move(reloaded); }
    /// Return or Enter on pages that are selected.
    void setReturnPressed(std::function<void()> returnPressed) {
        m_returnPressed = std::move(returnPressed);
    }
    /// As long as this is set, it tells where dropped items go instead of the pointer.
    void setDropIndex(std::function<std::size_t()> index) { m_dropIndex = std::move(index); }

    /// Runs drags in place of the desktop, for tests.
    void setDragRunner(std::function<void(QDrag&)> runner) { m_dragRunner = std::move(runner); }

    void reloadData() override;
    [[nodiscard]] std::size_t indexAtLocationOfDroppedItem() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void runDrag(QDrag& drag) override;

private:
    std::function<void()> m_reloaded;
    std::function<void()> m_returnPressed;
    std::function<std::size_t()> m_dropIndex;
    std::function<void(QDrag&)> m_dragRunner;
};

/// One pane of the window: a heading with a zoom slider above a browser.
class PaneView final : public QWidget {
    Q_OBJECT

public:
    PaneView(const QString& title, PagePictures& pictures, QWidget* parent);

    [[nodiscard]] PaneBrowser& browser() { return *m_browser; }
    [[nodiscard]] QSlider& slider() { return *m_slider; }
    /// What stands beside the title, for example "3 files, 12 pages".
    void setSummary(const QString& summary);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    /// A line below the heading of the pane that has the keys.
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showSummary();
    void softenSummary();
    [[nodiscard]] QRect keysLine() const;

    QString m_summaryText;
    QLabel* m_title;
    QLabel* m_summary;
    QSlider* m_slider;
    PaneBrowser* m_browser;
};

} // namespace quillorn
