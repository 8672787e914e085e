#include "platform/browser/BrowserLook.h"

#include <QColor>
#include <QFontMetrics>
#include <QImage>
#include <QPalette>
#include <cstddef>
#include <gtest/gtest.h>
#include <vector>

namespace quillorn {
namespace {

HeaderLook headerOf(const QString& title) {
    HeaderLook look;
    look.title = title;
    look.pageCount = 1234;
    return look;
}

TEST(HeaderTexts, StandSideBySideWhereThereIsRoom) {
    const HeaderTexts texts =
        BrowserLook::headerTexts(QRect(40, 0, 400, 24), QFont(), headerOf("Report.pdf"));
    EXPECT_EQ(texts.title, QStringLiteral("Report.pdf"));
    EXPECT_FALSE(texts.count.isEmpty());
    EXPECT_EQ(texts.countRect.right(), 439);
    EXPECT_LT(texts.titleRect.right(), texts.countRect.left());
}

TEST(HeaderTexts, TheTitleTakesTheRoomOfTheCountInANarrowPane) {
    const HeaderTexts texts = BrowserLook::headerTexts(QRect(40, 0, 70, 24), QFont(),
                                                       headerOf("A report with a long name.pdf"));
    EXPECT_TRUE(texts.count.isEmpty());
    EXPECT_EQ(texts.titleRect.width(), 70);
    EXPECT_GT(texts.title.size(), 3) << "shortened";
}

TEST(HeaderTexts, AShortTitleLeavesTheCountItsRoom) {
    const QFont font;
    const int room = QFontMetrics(font).horizontalAdvance(QStringLiteral("1,234 pages")) + 40;
    const HeaderTexts texts = BrowserLook::headerTexts(QRect(0, 0, room, 24), font, headerOf("a"));
    EXPECT_EQ(texts.title, QStringLiteral("a"));
    EXPECT_FALSE(texts.count.isEmpty());
}

/// The smallest rectangle around all pixels of a colour.
QRect placeOf(const QImage& picture, const QColor& color) {
    QRect place;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) == color) {
                place |= QRect(x, y, 1, 1);
            }
        }
    }
    return place;
}

TEST(DragPicture, TheNumberOfPagesIsOnTheCornerOfThePages) {
    QPalette palette;
    palette.setColor(QPalette::Highlight, Qt::red);
    palette.setColor(QPalette::HighlightedText, Qt::blue); // white is the paper
    const BrowserLook look(palette, QFont(), 1, false);
    PagePicture tall;
    tall.size = QSizeF(200, 1000);
    PagePicture wide;
    wide.size = QSizeF(1000, 200);
    for (const PagePicture& page : {tall, wide}) {
        for (const std::size_t count : {1U, 3U}) {
            const QImage picture =
                look.dragPicture(std::vector<PagePicture>(count, page), count).toImage();
            const QRect paper = placeOf(picture, Qt::white);
            const QRect number = placeOf(picture, Qt::red);
            ASSERT_FALSE(number.isEmpty());
            EXPECT_TRUE(number.intersects(paper)) << page.size.width() << ", " << count;
            EXPECT_TRUE(number.contains(paper.right(), number.center().y()));
            EXPECT_LT(number.center().y(), paper.center().y());
            EXPECT_TRUE(picture.rect().adjusted(1, 1, -1, -1).contains(number)) << "whole";
        }
    }
}

} // namespace
} // namespace quillorn
