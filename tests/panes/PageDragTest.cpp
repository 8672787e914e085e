#include "panes/PageDrag.h"

#include "tests/fakes/FakeImageBrowser.h"

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillorn {
namespace {

PageItems itemsOf(const std::vector<std::string>& paths) {
    PageItems items;
    for (const std::string& path : paths) {
        items.push_back(std::make_shared<ImageItemFir>(path, std::make_shared<PDFPage>()));
    }
    return items;
}

TEST(PageDrag, AnnouncesPagesFirstAndWritesOnlyExtensions) {
    const PageItems items = itemsOf({"/a/b.pdf", "/c/d.PNG", "/e/none", "/f/g.tar.gz"});
    tests::FakePasteboard pasteboard;
    EXPECT_EQ(writePageDrag(items, {0, 1, 2, 3}, pasteboard), 4U);
    EXPECT_EQ(pasteboard.types(),
              (std::vector<std::string>{std::string(pasteboard_type::pages),
                                        std::string(pasteboard_type::filenames)}));
    EXPECT_EQ(pasteboard.propertyListForType(pasteboard_type::filenames),
              (std::vector<std::string>{"pdf", "PNG", "", "gz"}));
    EXPECT_TRUE(pasteboard.propertyListForType(pasteboard_type::pages).empty());
}

TEST(PageDrag, WritesTheChosenPagesInTheirOrder) {
    const PageItems items = itemsOf({"a.1", "a.2", "a.3", "a.4", "a.5", "a.6"});
    tests::FakePasteboard pasteboard;
    EXPECT_EQ(writePageDrag(items, {0, 2, 5}, pasteboard), 3U);
    EXPECT_EQ(pasteboard.propertyListForType(pasteboard_type::filenames),
              (std::vector<std::string>{"1", "3", "6"}));
    EXPECT_EQ(itemsAtIndexes(items, {0, 2, 5}), (PageItems{items[0], items[2], items[5]}));
}

TEST(PageDrag, AnEmptyDragIsAnnouncedAsWell) {
    tests::FakePasteboard pasteboard;
    EXPECT_EQ(writePageDrag({}, {}, pasteboard), 0U);
    EXPECT_EQ(pasteboard.types().size(), 2U);
}

TEST(PageDrag, AnItemThatIsNotThereIsARangeError) {
    tests::FakePasteboard pasteboard;
    EXPECT_THROW(writePageDrag({}, {0}, pasteboard), std::out_of_range);
    EXPECT_THROW((void)itemsAtIndexes({}, {0}), std::out_of_range);
}

TEST(DragPagesArray, IsNothingBeforeTheFirstDrag) {
    EXPECT_EQ(DragPagesArray().items(), nullptr);
}

TEST(DragPagesArray, ANewDragReplacesTheListAndLeavesTheOldOneToItsHolder) {
    DragPagesArray drag;
    drag.replace(itemsOf({"a", "b"}));
    const auto first = drag.items();
    drag.replace(itemsOf({"c"}));
    EXPECT_EQ(first->size(), 2U);
    EXPECT_EQ(drag.items()->size(), 1U);
    EXPECT_NE(drag.items(), first);
}

} // namespace
} // namespace quillorn
