#include "tests/platform/pdf/carrying/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

std::string link(const std::string& target) {
    return "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] " + target + " >>";
}

std::string fit(const TestPDF& document, std::size_t page) {
    return "[" + referenceTo(document.pageObject(page - 1)) + " /Fit]";
}

/// Page 1 links to page 3, to itself and, by an action, to page 3 again.
TestPDF linked() {
    TestPDF document("linked", 4);
    document.addPageEntry(0, "/Annots [" + link("/Dest " + fit(document, 3)) +
                                 link("/Dest " + fit(document, 1)) +
                                 link("/A << /S /GoTo /D " + fit(document, 3) + " >>") + "]");
    return document;
}

TEST(RepeatedPages, LinkToTheNearestFollowingCopy) {
    Composition composition;
    const auto source = composition.source("l.pdf", linked());
    const WrittenPDF file = composition.add(source, {1, 2, 3, 1, 2, 3, 1}).write();
    EXPECT_THAT(file.links(1), ElementsAre("p3 /Fit", "p1 /Fit", "p3 /Fit"));
    EXPECT_THAT(file.links(4), ElementsAre("p6 /Fit", "p4 /Fit", "p6 /Fit"));
    // Nothing follows the last one: the nearest before it.
    EXPECT_THAT(file.links(7), ElementsAre("p6 /Fit", "p7 /Fit", "p6 /Fit"));
}

TEST(RepeatedPages, LinkRightAlsoWhenTheyAreCopiedFromALargerFile) {
    Composition composition;
    const auto source = composition.source("l.pdf", linked());
    const WrittenPDF file = composition.add(source, {3, 1, 3, 1}).write();
    EXPECT_THAT(file.links(2), ElementsAre("p3 /Fit", "p2 /Fit", "p3 /Fit"));
    EXPECT_THAT(file.links(4), ElementsAre("p3 /Fit", "p4 /Fit", "p3 /Fit"));
}

TEST(RepeatedPages, LinkRightThroughSharedAnnotations) {
    TestPDF document("shared", 4);
    const std::string shared =
        "/Annots " +
        referenceTo(document.addObject(
            "[" + referenceTo(document.addObject(link("/Dest " + fit(document, 4)))) + "]"));
    document.addPageEntry(0, shared);
    document.addPageEntry(1, shared);
    Composition composition;
    const auto source = composition.source("s.pdf", document);
    const WrittenPDF file = composition.add(source, {1, 4, 2, 4, 1}).write();
    EXPECT_THAT(file.links(1), ElementsAre("p2 /Fit"));
    EXPECT_THAT(file.links(3), ElementsAre("p4 /Fit"));
    EXPECT_THAT(file.links(5), ElementsAre("p4 /Fit"));
}

TEST(RepeatedPages, LinkRightThroughChainsOfActions) {
    TestPDF document("chain", 2);
    document.addPageEntry(0,
                          "/Annots [" +
                              link("/A << /S /URI /URI (http://example.org) /Next << /S /GoTo /D " +
                                   fit(document, 2) + " >> >>") +
                              "] /AA << /O << /S /GoTo /D " + fit(document, 2) + " >> >>");
    Composition composition;
    const auto source = composition.source("c.pdf", document);
    const WrittenPDF file = composition.add(source, {1, 2, 1, 2}).write();
    EXPECT_THAT(file.links(1), ElementsAre("uri http://example.org, then p2 /Fit"));
    EXPECT_THAT(file.links(3), ElementsAre("uri http://example.org, then p4 /Fit"));
    EXPECT_EQ(file.action(file.entry(file.page(1), "/AA")["/O"]), "p2 /Fit");
    EXPECT_EQ(file.action(file.entry(file.page(3), "/AA")["/O"]), "p4 /Fit");
}

TEST(RepeatedPages, HaveAnnotationsOfTheirOwn) {
    TestPDF document("comment", 1);
    const std::size_t comment = document.nextObject();
    document.addObject("<< /Type /Annot /Subtype /Text /Rect [0 0 9 9] /Popup " +
                       referenceTo(comment + 1) + " /P " + referenceTo(document.pageObject(0)) +
                       " >>");
    document.addObject("<< /Type /Annot /Subtype /Popup /Rect [0 0 9 9] /Parent " +
                       referenceTo(comment) + " >>");
    document.addObject("<< /Type /Annot /Subtype /Text /Rect [0 0 9 9] /IRT " +
                       referenceTo(comment) + " >>");
    document.addPageEntry(0, "/Annots [" + referenceTo(comment) + " " + referenceTo(comment + 1) +
                                 " " + referenceTo(comment + 2) + "]");
    Composition composition;
    const auto source = composition.source("c.pdf", document);
    const WrittenPDF file = composition.add(source, {1, 1}).write();
    for (std::size_t page = 1; page <= 2; ++page) {
        const auto list = file.entry(file.page(page), "/Annots");
        ASSERT_THAT(list, SizeIs(3));
        EXPECT_EQ(file.resolved(list[0])["/Popup"], list[1]);
        EXPECT_EQ(file.resolved(list[1])["/Parent"], list[0]);
        EXPECT_EQ(file.resolved(list[2])["/IRT"], list[0]);
        EXPECT_EQ(file.pageNumber(file.resolved(list[0])["/P"]), page);
    }
    EXPECT_NE(file.entry(file.page(1), "/Annots")[0], file.entry(file.page(2), "/Annots")[0]);
}

TEST(RepeatedPages, ShareTheirContents) {
    Composition composition;
    TestPDF document("shared", 1);
    document.padPages(100'000);
    const auto source = composition.source("s.pdf", document);
    const WrittenPDF file = composition.add(source, {1, 1, 1}).write();
    EXPECT_EQ(file.page(1)["/Contents"], file.page(3)["/Contents"]);
    EXPECT_LT(composition.report().bytes, 150'000U);
}

TEST(RepeatedPages, AreTurnedOneByOne) {
    Composition composition;
    const auto source = composition.source("t.pdf", TestPDF("turned", 1).setRotation(0, 90));
    const WrittenPDF file =
        composition.add(source, {1}).add(source, {1}, 90).add(source, {1}, -90).write();
    EXPECT_EQ(file.page(1)["/Rotate"], 90);
    EXPECT_EQ(file.page(2)["/Rotate"], 180);
    EXPECT_EQ(file.page(3)["/Rotate"], 0);
}

} // namespace
} // namespace quillorn::tests
