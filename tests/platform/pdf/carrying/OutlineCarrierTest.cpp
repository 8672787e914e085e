#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/FullDocument.h"
#include "tests/platform/pdf/carrying/Outlines.h"

#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

/// Part I (page 1) with chapters on pages 2 and 3, Part II (page 4, closed) with one on page 5.
TestPDF book() {
    TestPDF document("book", 6);
    const auto entry = [&document](const char* title, std::size_t page) {
        return titledEntry(document, title, page);
    };
    addOutline(document, {{entry("Part I", 1), {{entry("One", 2), {}}, {entry("Two", 3), {}}}},
                          {entry("Part II", 4), {{entry("Three", 5), {}}}, false},
                          {entry("Index", 6), {}}});
    return document;
}

TEST(Outline, LeadsToThePagesWhereTheyNowStand) {
    Composition composition;
    const auto source = composition.source("book.pdf", book());
    EXPECT_EQ(composition.add(source, {6, 5, 4, 3, 2, 1}).write().outline(),
              "Part I > p6 /Fit open\n"
              "  One > p5 /Fit\n"
              "  Two > p4 /Fit\n"
              "Part II > p3 /Fit closed\n"
              "  Three > p2 /Fit\n"
              "Index > p1 /Fit\n");
    EXPECT_EQ(composition.notes(), "");
}

TEST(Outline, LosesEntriesWhosePagesStayedBehind) {
    Composition composition;
    const auto source = composition.source("book.pdf", book());
    EXPECT_EQ(composition.add(source, {1, 3, 6}).write().outline(), "Part I > p1 /Fit open\n"
                                                                    "  Two > p2 /Fit\n"
                                                                    "Index > p3 /Fit\n");
    EXPECT_EQ(composition.notes(), "outline-entry-dropped 3 (One)");
}

TEST(Outline, KeepsAnEntryWithoutItsPageForTheEntriesBelowIt) {
    Composition composition;
    const auto source = composition.source("book.pdf", book());
    EXPECT_EQ(composition.add(source, {3, 5}).write().outline(), "Part I open\n"
                                                                 "  Two > p1 /Fit\n"
                                                                 "Part II closed\n"
                                                                 "  Three > p2 /Fit\n");
    EXPECT_EQ(composition.notes(), "outline-entry-dropped 2 (One); outline-target-lost 2 (Part I)");
}

TEST(Outline, IsGoneWhenNoEntryStays) {
    TestPDF document("plain", 2);
    addOutline(document, {{titledEntry(document, "First", 1), {}}});
    Composition composition;
    const WrittenPDF file = composition.add(composition.source("plain.pdf", document), {2}).write();
    EXPECT_FALSE(file.catalog().contains("/Outlines"));
}

TEST(Outline, OfSeveralFilesStandsUnderTheirNamesInTheOrderOfTheirFirstPages) {
    Composition composition;
    const auto big = composition.source("big.pdf", book()); // whole, so it is read first
    const auto small = composition.source("small.pdf", book());
    EXPECT_EQ(composition.add(small, {6}).add(big).write().outline(), "small.pdf > p1 /Fit open\n"
                                                                      "  Index > p1 /Fit\n"
                                                                      "big.pdf > p2 /Fit open\n"
                                                                      "  Part I > p2 /Fit open\n"
                                                                      "    One > p3 /Fit\n"
                                                                      "    Two > p4 /Fit\n"
                                                                      "  Part II > p5 /Fit closed\n"
                                                                      "    Three > p6 /Fit\n"
                                                                      "  Index > p7 /Fit\n");
}

TEST(Outline, NamesAFileThatHasNoOutlineItself) {
    Composition composition;
    const auto with = composition.source("with.pdf", book());
    const auto without = composition.source("without.pdf", TestPDF("without", 3));
    EXPECT_EQ(composition.add(with, {6}).add(without).write().outline(), "with.pdf > p1 /Fit open\n"
                                                                         "  Index > p1 /Fit\n"
                                                                         "without.pdf > p2 /Fit\n");
}

TEST(Outline, OfSeveralFilesIsMergedFlatOnRequest) {
    Composition composition;
    const auto a = composition.source("a.pdf", book());
    const auto b = composition.source("b.pdf", book());
    composition.options().flatOutline = true;
    EXPECT_EQ(composition.add(a, {1, 2}).add(b, {6}).write().outline(), "Part I > p1 /Fit open\n"
                                                                        "  One > p2 /Fit\n"
                                                                        "Index > p3 /Fit\n");
}

TEST(Outline, OfFilesWithoutAnyIsNotMadeUp) {
    Composition composition;
    const auto a = composition.source("a.pdf", TestPDF("a", 1));
    const auto b = composition.source("b.pdf", TestPDF("b", 1));
    EXPECT_FALSE(composition.add(a).add(b).write().catalog().contains("/Outlines"));
}

TEST(Outline, KeepsTitlesColoursAndStyles) {
    TestPDF document("styled", 1);
    // "Größe" in UTF-16, and in the encoding of old documents.
    addOutline(document, {{"/Title <FEFF0047007200F600DF0065> /C [0 0.5 1] /F 3 /Dest [" +
                               referenceTo(document.pageObject(0)) + " /Fit]",
                           {}},
                          {titledEntry(document, "Gr\\366\\337e", 1), {}}});
    Composition composition;
    const WrittenPDF file = composition.add(composition.source("styled.pdf", document)).write();
    const auto first = file.entry(file.entry(file.catalog(), "/Outlines"), "/First");
    EXPECT_EQ(file.text(first["/Title"]), "Größe");
    EXPECT_EQ(first["/C"], nlohmann::json::parse("[0, 0.5, 1]"));
    EXPECT_EQ(first["/F"], 3);
    EXPECT_EQ(file.text(file.entry(first, "/Next")["/Title"]), "Größe");
}

TEST(Outline, CountsWhatIsVisible) {
    Composition composition;
    const WrittenPDF file = composition.add(composition.source("book.pdf", book())).write();
    const auto root = file.entry(file.catalog(), "/Outlines");
    EXPECT_EQ(root["/Count"], 5); // Part I, One, Two, Part II, Index
    EXPECT_EQ(file.entry(root, "/First")["/Count"], 2);
    EXPECT_EQ(file.entry(file.entry(root, "/First"), "/Next")["/Count"], -1);
}

TEST(Outline, KeepsEntriesThatLeadElsewhere) {
    TestPDF document("elsewhere", 2);
    addOutline(document, {{"/Title (Web) /A << /S /URI /URI (http://example.org) >>", {}},
                          {"/Title (Other) /A << /S /GoToR /F (other.pdf) /D (there) >>", {}}});
    Composition composition;
    EXPECT_EQ(composition.add(composition.source("e.pdf", document), {2}).write().outline(),
              "Web > uri http://example.org\n"
              "Other > /GoToR\n");
    EXPECT_EQ(composition.notes(), "");
}

TEST(Outline, LosesWhatFollowsAnActionWhenItsPageStayedBehind) {
    TestPDF document("chain", 2);
    addOutline(document, {{"/Title (Web) /A << /S /URI /URI (http://example.org) /Next << /S /GoTo "
                           "/D [" +
                               referenceTo(document.pageObject(0)) + " /Fit] >> >>",
                           {}}});
    Composition composition;
    EXPECT_EQ(composition.add(composition.source("c.pdf", document), {2}).write().outline(),
              "Web > uri http://example.org\n");
}

TEST(Outline, KeepsHeadingsThatNeverHadAPage) {
    TestPDF document("headings", 3);
    addOutline(document, {{"/Title (Heading)", {{titledEntry(document, "One", 1), {}}}},
                          {"/Title (Gone)", {{titledEntry(document, "Two", 2), {}}}},
                          {"/Title (----)", {}}});
    Composition composition;
    const auto source = composition.source("h.pdf", document);
    EXPECT_EQ(composition.add(source, {3, 1}).write().outline(), "Heading open\n"
                                                                 "  One > p2 /Fit\n");
    EXPECT_EQ(composition.notes(), "outline-entry-dropped 1 (Two)");
    EXPECT_EQ(composition.add(source, {3, 2, 1}).write().outline(), "Heading open\n"
                                                                    "  One > p3 /Fit\n"
                                                                    "Gone open\n"
                                                                    "  Two > p2 /Fit\n"
                                                                    "----\n");
}

TEST(Outline, ReadsEveryKindOfDestination) {
    TestPDF document("kinds", 3);
    const std::string page = referenceTo(document.pageObject(2));
    document.addCatalogEntry("/Dests << /old << /D [" + page + " /FitV 10] >> >> " +
                             "/Names << /Dests << /Kids [<< /Limits [(a) (b)] /Names [(a) [" +
                             page + " /FitR 1 2 3 4] (b) << /D [" + page +
                             " /FitBH 5] >>] >>] >> >>");
    addOutline(
        document,
        {{"/Title (name) /Dest /old", {}},
         {"/Title (string) /Dest (a)", {}},
         {"/Title (dictionary) /A << /S /GoTo /D (b) >>", {}},
         {"/Title (number) /Dest [2 /FitB]", {}},
         {"/Title (bare) /Dest [" + page + "]", {}},
         {"/Title (structure) /A << /S /GoTo /SD [99 0 R /Fit] /D [" + page + " /Fit] >>", {}}});
    Composition composition;
    EXPECT_EQ(composition.add(composition.source("k.pdf", document), {3, 1}).write().outline(),
              "name > p1 /FitV 10\n"
              "string > p1 /FitR 1 2 3 4\n"
              "dictionary > p1 /FitBH 5\n"
              "number > p1 /FitB\n"
              "bare > p1 /Fit\n"
              "structure > p1 /Fit\n");
}

TEST(Outline, LeadsToTheFirstOfSeveralCopies) {
    Composition composition;
    const auto source = composition.source("book.pdf", book());
    EXPECT_EQ(composition.add(source, {1, 6, 1, 6}).write().outline(), "Part I > p1 /Fit\n"
                                                                       "Index > p2 /Fit\n");
}

TEST(Outline, OfAnEncryptedFileIsReadable) {
    Composition composition;
    const auto plain = book().writeTo(composition.folder() / "plain.pdf");
    const auto locked = composition.open(encryptPDF(plain, composition.folder() / "locked.pdf",
                                                    TestEncryption{"secret", "owner", {}}));
    const auto source = locked->unlocked("secret");
    ASSERT_TRUE(source);
    EXPECT_EQ(composition.add(*source, {6}).write().outline(), "Index > p1 /Fit\n");
    EXPECT_EQ(composition.add(*source).write().outline().substr(0, 21), "Part I > p1 /Fit open");
}

TEST(Outline, OfALongTitleIsNamedByItsBeginning) {
    TestPDF document("long", 2);
    document.addOutlineEntry(std::string(5'000, 't'), 1);
    Composition composition;
    composition.add(composition.source("long.pdf", document), {1}).writeChecked();
    EXPECT_EQ(composition.notes(), "outline-entry-dropped 1 (" + std::string(200, 't') + "...)");
}

TEST(Outline, WhoseTitlesAreNoTextsIsCarriedLikeAnyOther) {
    TestPDF document("odd", 2);
    const std::size_t root = document.nextObject();
    document.addObject("<< /First " + referenceTo(root + 1) + " /Last " + referenceTo(root + 3) +
                       " /Count 3 >>");
    const char* const titles[] = {"/Title 12", "", "/Title [(in a list)]"};
    for (std::size_t i = 0; i < 3; ++i) {
        document.addObject("<< " + std::string(titles[i]) + " /Parent " + referenceTo(root) +
                           " /Dest [" + referenceTo(document.pageObject(1)) + " /Fit]" +
                           (i < 2 ? " /Next " + referenceTo(root + i + 2) : std::string()) + " >>");
    }
    document.addCatalogEntry("/Outlines " + referenceTo(root));
    Composition composition;
    const auto source = composition.source("odd.pdf", document);
    EXPECT_EQ(WrittenPDF(composition.add(source, {1}).writeUnchecked()).pageCount(), 1U);
    EXPECT_EQ(composition.notes(), "outline-entry-dropped 3");
    EXPECT_EQ(WrittenPDF(composition.add(source, {2}).writeUnchecked()).pageCount(), 1U);
}

} // namespace
} // namespace quillorn::tests
