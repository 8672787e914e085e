#include "tests/platform/pdf/carrying/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// Dictionaries of link annotations, given their targets.
std::string link(const std::string& target) {
    return "<< /Type /Annot /Subtype /Link /Rect [0 0 9 9] " + target + " >>";
}

/// "[12 0 R /Fit]" for a page, counted from 1.
std::string fit(const TestPDF& document, std::size_t page) {
    return "[" + referenceTo(document.pageObject(page - 1)) + " /Fit]";
}

std::string goTo(const std::string& destination, const std::string& more = "") {
    return "<< /S /GoTo /D " + destination + " " + more + " >>";
}

/// Three pages; the links stand on page 1.
struct LinkedPages {
    TestPDF document{"links", 3};

    explicit LinkedPages(const std::vector<std::string>& annotations) { add(annotations); }
    LinkedPages() = default;

    void add(const std::vector<std::string>& annotations) {
        std::string all;
        for (const std::string& annotation : annotations) {
            all += annotation + " ";
        }
        document.addPageEntry(0, "/Annots [" + all + "]");
    }
};

TEST(Links, ToAbsentPagesAreRemovedAndCounted) {
    LinkedPages pages;
    pages.add({link("/Dest " + fit(pages.document, 2)), link("/Dest " + fit(pages.document, 3)),
               link("/A " + goTo(fit(pages.document, 2))),
               link("/A << /S /URI /URI (http://example.org) >>")});
    Composition composition;
    const auto source = composition.source("links.pdf", pages.document);
    EXPECT_THAT(composition.add(source, {3, 1}).write().links(2),
                ElementsAre("p1 /Fit", "uri http://example.org"));
    EXPECT_EQ(composition.notes(), "link-removed 2");
}

TEST(Links, OnSharedListsAreRemovedFromEveryPage) {
    LinkedPages pages;
    const std::size_t list =
        pages.document.addObject("[" + link("/Dest " + fit(pages.document, 2)) +
                                 link("/Dest " + fit(pages.document, 3)) + "]");
    pages.document.addPageEntry(0, "/Annots " + referenceTo(list));
    pages.document.addPageEntry(1, "/Annots " + referenceTo(list));
    Composition composition;
    const auto source = composition.source("links.pdf", pages.document);
    const WrittenPDF file = composition.add(source, {1, 2}).write();
    EXPECT_THAT(file.links(1), ElementsAre("p2 /Fit"));
    EXPECT_THAT(file.links(2), ElementsAre("p2 /Fit"));
    EXPECT_EQ(composition.notes(), "link-removed 1");
}

TEST(Links, WithEqualNamesInTwoDocumentsStayApart) {
    const auto chapters = [](const std::string& name, std::size_t target) {
        TestPDF document(name, 3);
        document.addPageEntry(0,
                              "/Annots [" + link("/Dest (chapter)") + link("/Dest /Chapter") + "]");
        document.addCatalogEntry("/Names << /Dests << /Names [(chapter) " + fit(document, target) +
                                 "] >> >> /Dests << /Chapter " + fit(document, target) + " >>");
        return document;
    };
    Composition composition;
    const auto one = composition.source("one.pdf", chapters("one", 2));
    const auto two = composition.source("two.pdf", chapters("two", 3));
    const WrittenPDF file = composition.add(one).add(two).write();
    EXPECT_THAT(file.links(1), ElementsAre("p2 /Fit", "p2 /Fit"));
    EXPECT_THAT(file.links(4), ElementsAre("p6 /Fit", "p6 /Fit"));
}

TEST(Links, ToNowhereAreRemoved) {
    Composition composition;
    const LinkedPages pages({link("/Dest (nobody)"), link("/Dest /nobody"),
                             link("/Dest [null /Fit]"), link("/Dest [99 0 R /Fit]"),
                             link("/Dest [17 /Fit]"), link("/Dest []"), link("/A " + goTo("42"))});
    EXPECT_THAT(composition.add(composition.source("links.pdf", pages.document)).write().links(1),
                IsEmpty());
    EXPECT_EQ(composition.notes(), "link-removed 7");
}

TEST(Links, KeepTheirPositions) {
    LinkedPages pages;
    const std::string page = referenceTo(pages.document.pageObject(1));
    pages.add({link("/Dest [" + page + " /XYZ 10.5 null 2]"), link("/Dest [" + page + " /FitBV 7]"),
               link("/Dest [" + page + " /FitR 1 2 3.25 4]")});
    Composition composition;
    const auto source = composition.source("links.pdf", pages.document);
    EXPECT_THAT(composition.add(source, {}, 90).write().links(1),
                ElementsAre("p2 /XYZ 10.5 null 2", "p2 /FitBV 7", "p2 /FitR 1 2 3.25 4"));
}

TEST(Links, ThatNameANamedTargetAreFollowed) {
    TestPDF document("names", 2);
    document.addPageEntry(0, "/Annots [" + link("/Dest (a)") + link("/Dest (loop)") + "]");
    document.addCatalogEntry("/Names << /Dests << /Names [(a) (b) (b) << /D " + fit(document, 2) +
                             " >> (loop) (loop)] >> >>");
    Composition composition;
    EXPECT_THAT(composition.add(composition.source("n.pdf", document)).write().links(1),
                ElementsAre("p2 /Fit"));
}

TEST(Links, WithAnActionBesideADeadTargetFollowTheAction) {
    const LinkedPages pages({link("/Dest (nobody) /A << /S /URI /URI (http://example.org) >>")});
    Composition composition;
    EXPECT_THAT(composition.add(composition.source("links.pdf", pages.document)).write().links(1),
                ElementsAre("uri http://example.org"));
    EXPECT_EQ(composition.notes(), "");
}

TEST(Links, OfAChainOfActionsKeepWhatCanBeDone) {
    LinkedPages pages;
    const std::string web = "<< /S /URI /URI (http://example.org) ";
    const std::string absent = fit(pages.document, 3);
    const std::string there = fit(pages.document, 2);
    pages.add({link("/A " + goTo(there, "/Next " + goTo(absent))),
               link("/A " + goTo(absent, "/Next " + goTo(there))),
               link("/A " + web + "/Next [" + goTo(absent) + goTo(there) + "] >>"),
               link("/A " + web + "/Next [" + goTo(there, "/Next " + goTo(absent)) + goTo(absent) +
                    "] >>"),
               link("/A " + goTo(absent, "/Next [" + goTo(absent) + "]"))});
    Composition composition;
    const auto source = composition.source("links.pdf", pages.document);
    EXPECT_THAT(composition.add(source, {1, 2}).write().links(1),
                ElementsAre("p2 /Fit", "p2 /Fit", "uri http://example.org, then p2 /Fit",
                            "uri http://example.org, then p2 /Fit"));
    EXPECT_EQ(composition.notes(), "link-removed 7");
}

TEST(Links, LeaveButtonsInPlaceThatLeadToAbsentPages) {
    LinkedPages pages;
    pages.add({"<< /Type /Annot /Subtype /Widget /FT /Btn /Ff 65536 /T (go) /Rect [0 0 9 9] /A " +
               goTo(fit(pages.document, 3)) + " /AA << /E " + goTo(fit(pages.document, 3)) +
               " /X " + goTo(fit(pages.document, 2)) + " >> >>"});
    Composition composition;
    const auto source = composition.source("links.pdf", pages.document);
    const WrittenPDF file = composition.add(source, {1, 2}).write();
    ASSERT_THAT(file.annotations(1), SizeIs(1));
    const auto button = file.annotations(1)[0];
    EXPECT_FALSE(button.contains("/A"));
    EXPECT_FALSE(button["/AA"].contains("/E"));
    EXPECT_EQ(file.action(button["/AA"]["/X"]), "p2 /Fit");
}

TEST(Links, OfPagesThatAreOpenedLeadRight) {
    TestPDF document("opened", 3);
    document.addPageEntry(0, "/AA << /O " + goTo(fit(document, 2)) + " /C " +
                                 goTo(fit(document, 3)) + " >>");
    Composition composition;
    const WrittenPDF file = composition.add(composition.source("o.pdf", document), {2, 1}).write();
    const auto actions = file.entry(file.page(2), "/AA");
    EXPECT_EQ(file.action(actions["/O"]), "p1 /Fit");
    EXPECT_FALSE(actions.contains("/C"));
}

TEST(Links, ToOtherFilesStayAsTheyAre) {
    const LinkedPages pages({link("/A << /S /GoToR /F (other.pdf) /D [4 /Fit] >>"),
                             link("/A << /S /Launch /F (other.txt) >>"),
                             link("/A << /S /Named /N /NextPage >>")});
    Composition composition;
    const WrittenPDF file =
        composition.add(composition.source("links.pdf", pages.document), {1}).write();
    EXPECT_THAT(file.links(1), ElementsAre("/GoToR", "/Launch", "/Named"));
    EXPECT_EQ(file.entry(file.annotations(1)[0]["/A"], "/D"),
              nlohmann::json::parse("[4, \"/Fit\"]"));
}

TEST(Links, BetweenDocumentsAreNotMadeUp) {
    // The same name leads somewhere in the other document only.
    TestPDF asking("asking", 1);
    asking.addPageEntry(0, "/Annots [" + link("/Dest (there)") + "]");
    TestPDF knowing("knowing", 1);
    knowing.addCatalogEntry("/Names << /Dests << /Names [(there) " + fit(knowing, 1) + "] >> >>");
    Composition composition;
    const auto a = composition.source("a.pdf", asking);
    const auto b = composition.source("b.pdf", knowing);
    EXPECT_THAT(composition.add(a).add(b).write().links(1), IsEmpty());
}

TEST(Links, WithoutATargetStay) {
    const LinkedPages pages({link(""), link("/A << /S /JavaScript /JS (app.beep\\(\\)) >>")});
    Composition composition;
    EXPECT_THAT(composition.add(composition.source("l.pdf", pages.document), {1}).write().links(1),
                ElementsAre("nothing", "/JavaScript"));
}

TEST(Links, ToTheirOwnDocumentThroughItsNamesWorkForOtherFiles) {
    TestPDF document("named", 2);
    document.addCatalogEntry("/Names << /Dests << /Names [(a) " + fit(document, 1) + " (b) " +
                             fit(document, 2) + "] >> >> /Dests << /c " + fit(document, 2) + " >>");
    Composition composition;
    const auto source = composition.source("n.pdf", document);
    const WrittenPDF file = composition.add(source, {2, 1}).write();
    EXPECT_THAT(file.names("/Dests"), ElementsAre("a", "b"));
    EXPECT_EQ(file.destination(file.entry(file.entry(file.catalog(), "/Dests"), "/c")), "p1 /Fit");
}

TEST(Links, OnCommentsKeepTheirPopups) {
    TestPDF document("comment", 2);
    const std::size_t comment = document.nextObject();
    document.addObject("<< /Type /Annot /Subtype /Text /Rect [0 0 9 9] /Contents (Hello) /Popup " +
                       referenceTo(comment + 1) + " /P " + referenceTo(document.pageObject(0)) +
                       " >>");
    document.addObject("<< /Type /Annot /Subtype /Popup /Rect [0 0 9 9] /Parent " +
                       referenceTo(comment) + " >>");
    document.addPageEntry(0, "/Annots [" + referenceTo(comment) + " " + referenceTo(comment + 1) +
                                 "]");
    Composition composition;
    const WrittenPDF file = composition.add(composition.source("c.pdf", document), {1}).write();
    const auto list = file.entry(file.page(1), "/Annots");
    ASSERT_THAT(list, SizeIs(2));
    EXPECT_EQ(file.resolved(list[0])["/Popup"], list[1]);
    EXPECT_EQ(file.resolved(list[1])["/Parent"], list[0]);
    EXPECT_EQ(file.pageNumber(file.resolved(list[0])["/P"]), 1U);
}

} // namespace
} // namespace quillorn::tests
