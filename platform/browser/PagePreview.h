#pragma once

#include "platform/browser/PagePictures.h"
#include "platform/pdf/PDFPage.h"

#include <QString>
#include <QWidget>
#include <memory>

namespace quillorn {

/// A window with one large page, which follows the selection of a browser: whatever key it does
/// not know itself goes there. Space and Escape close it.
class PagePreview : public QWidget {
    Q_OBJECT

public:
    /// A window of its own that belongs to `browser`. `pictures` must outlive it.
    PagePreview(PagePictures& pictures, QWidget& browser);
    ~PagePreview() override;

    /// Opens as large as the screen reasonably allows, in front of the browser's window.
    void appear();
    /// Null shows an empty place.
    void show(std::shared_ptr<PDFPage> page, const QString& title, const QString& place);
    /// Whether its page has its picture, or the one of what cannot be drawn.
    [[nodiscard]] bool showsPicture() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    [[nodiscard]] QRect pageArea() const;
    [[nodiscard]] QSize frame() const;
    void wish();

    PagePictures& m_pictures;
    PagePictures::Viewer m_viewer;
    QWidget& m_browser;
    std::shared_ptr<PDFPage> m_page;
    QString m_title;
    QString m_place;
};

} // namespace quillorn
