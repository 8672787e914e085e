#include "platform/browser/BrowserLook.h"

#include <QFontMetrics>
#include <gtest/gtest.h>

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

} // namespace
} // namespace quillorn
