#include "platform/browser/BrowserLayout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace quillorn {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Step = BrowserLayout::Step;

constexpr int pageHeight = 500;

/// Three cells a row: 12 + 3 x 142 = 438, and 6 pixels over on each side.
BrowserLayout layoutOf(std::vector<BrowserLayout::Group> groups, int width = 450) {
    BrowserLayout layout;
    layout.setWidth(width);
    layout.setGroups(std::move(groups));
    return layout;
}

BrowserPoint middleOf(const BrowserRect& rect) {
    return {rect.x + rect.width / 2, rect.y + rect.height / 2};
}

TEST(BrowserLayoutTest, RowsStandInTheMiddleUnderTheHeaderOfTheirGroup) {
    const BrowserLayout layout = layoutOf({{5, true}, {1, true}});
    EXPECT_EQ(layout.columns(), 3);
    EXPECT_EQ(layout.headerRect(0), (BrowserRect{0, 0, 450, 28}));
    EXPECT_EQ(layout.itemRect(0), (BrowserRect{18, 40, 130, 170}));
    EXPECT_EQ(layout.itemRect(2), (BrowserRect{302, 40, 130, 170}));
    EXPECT_EQ(layout.itemRect(3), (BrowserRect{18, 222, 130, 170}));
    EXPECT_EQ(layout.headerRect(1).y, 404);
    EXPECT_EQ(layout.itemRect(5), (BrowserRect{18, 444, 130, 170}));
    EXPECT_EQ(layout.contentHeight(), 626);
}

TEST(BrowserLayoutTest, AWindowNarrowerThanACellHasOneColumnThatStartsAtItsEdge) {
    const BrowserLayout layout = layoutOf({{3, true}}, 100);
    EXPECT_EQ(layout.columns(), 1);
    EXPECT_EQ(layout.itemRect(2), (BrowserRect{0, 40 + 2 * 182, 130, 170}));
}

TEST(BrowserLayoutTest, ACollapsedGroupIsItsHeader) {
    BrowserLayout layout = layoutOf({{4, true}, {7, true}, {2, true}});
    const int height = layout.contentHeight();
    layout.setGroupExpanded(1, false);
    EXPECT_EQ(layout.contentHeight(), height - 12 - 3 * 182);
    EXPECT_EQ(layout.headerRect(2).y, layout.headerRect(1).bottom());
    EXPECT_TRUE(layout.itemRect(4).isEmpty());
    EXPECT_FALSE(layout.itemRect(11).isEmpty());
    EXPECT_EQ(layout.itemsOf(1), (BrowserRange{4, 11}));
    layout.setGroupExpanded(1, true);
    EXPECT_EQ(layout.contentHeight(), height);
    layout.setAllGroupsExpanded(false);
    EXPECT_EQ(layout.contentHeight(), 3 * 28);
    EXPECT_THAT(layout.itemsIn({0, 0, 450, 10'000}), IsEmpty());
}

TEST(BrowserLayoutTest, NothingIsThereWithoutGroups) {
    const BrowserLayout layout = layoutOf({});
    EXPECT_EQ(layout.contentHeight(), 0);
    EXPECT_EQ(layout.itemCount(), 0U);
    EXPECT_EQ(layout.itemAt({5, 5}), std::nullopt);
    EXPECT_EQ(layout.headerAt({5, 5}), std::nullopt);
    EXPECT_THAT(layout.itemsIn({0, 0, 100, 100}), IsEmpty());
    EXPECT_EQ(layout.dropAt({5, 5}), BrowserDrop{});
    EXPECT_EQ(layout.stepFrom(0, Step::down, pageHeight), std::nullopt);
}

TEST(BrowserLayoutTest, EmptyGroupsAreHeadersToo) {
    const BrowserLayout layout = layoutOf({{0, true}, {2, true}, {0, true}});
    EXPECT_EQ(layout.groupOf(0), 1U);
    EXPECT_EQ(layout.groupOf(1), 1U);
    EXPECT_EQ(layout.headerRect(1).y, 28);
    EXPECT_EQ(layout.headerAt({3, layout.contentHeight() - 1}), 2U);
}

TEST(BrowserLayoutTest, PointsFindCellsAndHeaders) {
    const BrowserLayout layout = layoutOf({{5, true}, {1, true}});
    EXPECT_EQ(layout.itemAt({18, 40}), 0U);
    EXPECT_EQ(layout.itemAt({147, 209}), 0U);
    EXPECT_EQ(layout.itemAt({148, 209}), std::nullopt) << "between two cells";
    EXPECT_EQ(layout.itemAt({147, 210}), std::nullopt) << "between two rows";
    EXPECT_EQ(layout.itemAt(middleOf(layout.itemRect(4))), 4U);
    EXPECT_EQ(layout.itemAt({360, 300}), std::nullopt) << "behind the last cell of the group";
    EXPECT_EQ(layout.headerAt({0, 27}), 0U);
    EXPECT_EQ(layout.headerAt({0, 28}), std::nullopt);
    EXPECT_EQ(layout.headerAt({449, 404}), 1U);
    EXPECT_EQ(layout.headerAt({450, 404}), std::nullopt);
}

TEST(BrowserLayoutTest, ItemsInAnAreaAreThoseWhoseCellsMeetIt) {
    std::mt19937 random(7); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same areas in every run
    const auto below = [&random](int limit) {
        return std::uniform_int_distribution<int>(0, limit - 1)(random);
    };
    for (int round = 0; round < 60; ++round) {
        std::vector<BrowserLayout::Group> groups;
        for (int i = below(9); i >= 0; --i) {
            groups.push_back({static_cast<std::size_t>(below(20)), below(4) != 0});
        }
        const int width = 60 + below(900);
        const BrowserLayout layout = layoutOf(std::move(groups), width);
        for (int question = 0; question < 40; ++question) {
            const BrowserRect area =
                BrowserRect::between({below(width + 80) - 40, below(1500) - 100},
                                     {below(width + 80) - 40, below(1500) - 100});
            std::vector<std::size_t> expected;
            for (std::size_t item = 0; item < layout.itemCount(); ++item) {
                if (layout.itemRect(item).intersects(area)) {
                    expected.push_back(item);
                }
            }
            std::vector<std::size_t> found;
            std::size_t end = 0;
            for (const BrowserRange& range : layout.itemsIn(area)) {
                EXPECT_TRUE(found.empty() || range.first > end);
                end = range.end;
                for (std::size_t item = range.first; item < range.end; ++item) {
                    found.push_back(item);
                }
            }
            ASSERT_EQ(found, expected) << "round " << round << ", question " << question;
        }
    }
}

TEST(BrowserLayoutTest, WholeRowsAreOneRange) {
    const BrowserLayout layout = layoutOf({{100, true}, {50, true}});
    EXPECT_THAT(layout.itemsIn({0, 0, 450, layout.contentHeight()}),
                ElementsAre(BrowserRange{0, 150}));
    EXPECT_THAT(layout.itemsIn({0, 40, 30, 183}),
                ElementsAre(BrowserRange{0, 1}, BrowserRange{3, 4}));
}

TEST(BrowserLayoutTest, DropsGoToTheNearestGap) {
    const BrowserLayout layout = layoutOf({{5, true}, {1, true}});
    const BrowserRect first = layout.itemRect(0);
    const BrowserRect second = layout.itemRect(1);
    EXPECT_EQ(layout.dropAt({0, first.y}).index, 0U);
    EXPECT_EQ(layout.dropAt({middleOf(first).x - 1, middleOf(first).y}).index, 0U);
    const BrowserDrop between = layout.dropAt({middleOf(first).x + 1, middleOf(first).y});
    EXPECT_EQ(between.index, 1U);
    EXPECT_EQ(between.group, 0U);
    EXPECT_GE(between.mark.x, first.right());
    EXPECT_LE(between.mark.right(), second.x);
    EXPECT_EQ(between.mark.y, first.y);
    EXPECT_EQ(between.mark.height, first.height);
    // At the end of a row the mark stays on that row.
    const BrowserDrop rowEnd = layout.dropAt({440, middleOf(first).y});
    EXPECT_EQ(rowEnd.index, 3U);
    EXPECT_EQ(rowEnd.mark.y, first.y);
    EXPECT_GE(rowEnd.mark.x, layout.itemRect(2).right());
    EXPECT_LE(rowEnd.mark.right(), 450);
    // Right of the last item, and below the last row.
    EXPECT_EQ(layout.dropAt({440, layout.itemRect(4).y + 5}).index, 5U);
    EXPECT_EQ(layout.dropAt({440, layout.itemRect(4).y + 5}).group, 0U);
    EXPECT_EQ(layout.dropAt({440, 100'000}).index, 6U);
    EXPECT_EQ(layout.dropAt({440, 100'000}).group, 1U);
}

TEST(BrowserLayoutTest, DropsOnWhatShowsNoCellsGoToTheEndOfThatGroup) {
    const BrowserLayout layout = layoutOf({{5, false}, {0, true}, {2, true}});
    const BrowserDrop collapsed = layout.dropAt({200, 10});
    EXPECT_EQ(collapsed.index, 5U);
    EXPECT_EQ(collapsed.group, 0U);
    EXPECT_EQ(collapsed.mark.bottom(), layout.headerRect(0).bottom());
    EXPECT_EQ(layout.dropAt({200, 40}).index, 5U);
    EXPECT_EQ(layout.dropAt({200, 40}).group, 1U);
    EXPECT_EQ(layout.dropAt({200, 60}).index, 7U) << "on the header of an expanded group";
    EXPECT_EQ(layout.dropAt({200, -50}).group, 0U);
}

TEST(BrowserLayoutTest, ArrowsGoThroughTheShownItems) {
    //  0 1 2 | 3 4      5 6 (collapsed)      7 8 9 | 10
    const BrowserLayout layout = layoutOf({{5, true}, {2, false}, {4, true}});
    const auto step = [&layout](std::size_t item, Step way) {
        return layout.stepFrom(item, way, pageHeight);
    };
    EXPECT_EQ(step(0, Step::left), 0U);
    EXPECT_EQ(step(0, Step::right), 1U);
    EXPECT_EQ(step(4, Step::right), 7U) << "past the collapsed group";
    EXPECT_EQ(step(7, Step::left), 4U);
    EXPECT_EQ(step(10, Step::right), 10U);
    EXPECT_EQ(step(1, Step::down), 4U);
    EXPECT_EQ(step(2, Step::down), 4U) << "the last row is shorter";
    EXPECT_EQ(step(4, Step::down), 8U) << "into the same column of the next group";
    EXPECT_EQ(step(9, Step::down), 10U);
    EXPECT_EQ(step(10, Step::down), 10U);
    EXPECT_EQ(step(9, Step::up), 4U) << "the row above is shorter";
    EXPECT_EQ(step(7, Step::up), 3U);
    EXPECT_EQ(step(1, Step::up), 1U);
    EXPECT_EQ(step(4, Step::home), 0U);
    EXPECT_EQ(step(4, Step::end), 10U);
    EXPECT_EQ(step(5, Step::right), 0U) << "from an item that is not shown";
    EXPECT_EQ(step(5, Step::up), 10U);
    EXPECT_EQ(step(0, Step::pageDown), 7U) << "two rows of 182 pixels fit in 500";
    EXPECT_EQ(step(10, Step::pageUp), 3U);
}

TEST(BrowserLayoutTest, ZoomingKeepsEveryItemInItsOrder) {
    BrowserLayout layout = layoutOf({{9, true}, {4, true}}, 800);
    for (const int size : {20, 100, 300, 900}) {
        layout.setMetrics({size, size + 40, 12, 28});
        int bottom = 0;
        for (std::size_t item = 0; item < layout.itemCount(); ++item) {
            const BrowserRect cell = layout.itemRect(item);
            EXPECT_EQ(layout.itemAt(middleOf(cell)), item);
            EXPECT_GE(cell.bottom(), bottom);
            bottom = cell.bottom();
        }
        EXPECT_EQ(layout.contentHeight(), bottom + 12);
    }
}

} // namespace
} // namespace quillorn
