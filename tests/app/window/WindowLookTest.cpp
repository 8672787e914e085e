#include "tests/app/window/WindowFixture.h"

#include <QLabel>
#include <QTest>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using WindowLookTest = WindowFixture;

TEST_F(WindowLookTest, TheHeadingOfAPaneIsWholeAndItsSummaryWholeOrLeftOut) {
    start();
    open({pdf("a.pdf", 3), pdf("b.pdf", 117)});
    bool wasShown = false;
    bool wasLeftOut = false;
    for (int width = 250; width < 900; width += 10) {
        window().resize(width, 400);
        QTest::qWait(0);
        for (const QLabel* const label : window().sourcePane().findChildren<QLabel*>()) {
            const bool isSummary = !label->font().bold();
            if (isSummary) {
                (label->isVisible() ? wasShown : wasLeftOut) = true;
            }
            if (label->isVisible()) {
                EXPECT_LE(label->fontMetrics().horizontalAdvance(label->text()), label->width())
                    << label->text().toStdString() << " in a window " << width << " pixels wide";
            }
        }
    }
    EXPECT_TRUE(wasShown && wasLeftOut);
}

} // namespace
} // namespace quillorn::tests
