#include "platform/browser/BrowserSelection.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <set>

namespace quillorn {
namespace {

using Ranges = std::vector<BrowserRange>;

TEST(BrowserSelection, KeepsNeighboursAsOneRange) {
    BrowserSelection selection = BrowserSelection::of({1, 2, 3, 7, 9, 10});
    EXPECT_EQ(selection.ranges(), (Ranges{{1, 4}, {7, 8}, {9, 11}}));
    selection.add({8, 9});
    EXPECT_EQ(selection.ranges(), (Ranges{{1, 4}, {7, 11}}));
    selection.add({0, 100'000});
    EXPECT_EQ(selection.ranges(), (Ranges{{0, 100'000}}));
    EXPECT_EQ(selection.count(), 100'000U);
}

TEST(BrowserSelection, ContainsWhatWasPutIn) {
    const BrowserSelection selection = BrowserSelection::of({1, 2, 5});
    EXPECT_FALSE(selection.contains(0));
    EXPECT_TRUE(selection.contains(1));
    EXPECT_TRUE(selection.contains(2));
    EXPECT_FALSE(selection.contains(3));
    EXPECT_TRUE(selection.contains(5));
    EXPECT_FALSE(selection.contains(6));
    EXPECT_FALSE(BrowserSelection().contains(0));
}

TEST(BrowserSelection, RemovingFromTheMiddleLeavesBothSides) {
    BrowserSelection selection({0, 10});
    selection.remove({4, 6});
    EXPECT_EQ(selection.ranges(), (Ranges{{0, 4}, {6, 10}}));
    selection.remove({0, 1});
    selection.remove({9, 50});
    selection.remove({3, 3});
    EXPECT_EQ(selection.indexes(), (IndexSet{1, 2, 3, 6, 7, 8}));
}

TEST(BrowserSelection, DoesWhatASetOfNumbersDoes) {
    constexpr std::size_t items = 40;
    std::mt19937 random(7);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    for (int round = 0; round < 200; ++round) {
        BrowserSelection selection;
        std::set<std::size_t> expected;
        for (int step = 0; step < 20; ++step) {
            const std::size_t first = below(items);
            const BrowserRange range{first, first + below(8)};
            const std::size_t kind = below(4);
            BrowserSelection other = BrowserSelection(range);
            other.add({5, 7});
            for (std::size_t item = 0; item < items + 8; ++item) {
                const bool inRange = item >= range.first && item < range.end;
                if (kind == 0 && inRange) {
                    expected.insert(item);
                } else if (kind == 1 && inRange) {
                    expected.erase(item);
                } else if ((kind == 2 && other.contains(item)) || (kind == 3 && item == first)) {
                    if (expected.erase(item) == 0) {
                        expected.insert(item);
                    }
                }
            }
            if (kind == 0) {
                selection.add(range);
            } else if (kind == 1) {
                selection.remove(range);
            } else if (kind == 2) {
                selection.toggle(other);
            } else {
                selection.toggle(first);
            }
            ASSERT_EQ(selection.indexes(), IndexSet(expected.begin(), expected.end()));
            ASSERT_EQ(selection, BrowserSelection::of(selection.indexes()));
        }
    }
}

} // namespace
} // namespace quillorn
