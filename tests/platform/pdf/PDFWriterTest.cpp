#include "platform/pdf/PDFDocument.h"
#include "platform/pdf/PaperSize.h"
#include "tests/platform/pdf/WriterTesting.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using tests::RawPDF;
using tests::TestPDF;

class Writing : public WriterTesting {
protected:
    std::string outputBytes() { return tests::readFile(m_output); }

    std::vector<PDFPageGeometry> geometries() {
        std::vector<PDFPageGeometry> all;
        const Source written = open(m_output);
        for (std::size_t page = 0; written && page < written->pageCount(); ++page) {
            all.push_back(written->geometry(page).value_or(PDFPageGeometry{}));
        }
        return all;
    }
};

TEST_F(Writing, PutsPagesInTheirOrder) {
    const Source a = source("a", 4);
    write({pageOf(a, 3), pageOf(a, 0), pageOf(a, 2), pageOf(a, 1)});
    EXPECT_EQ(texts(), (Texts{"Page 4 of a", "Page 1 of a", "Page 3 of a", "Page 2 of a"}));
}

TEST_F(Writing, TakesSomePagesOfALongDocument) {
    const Source a = source("a", 1000);
    const PDFWriteReport report = write({pageOf(a, 999), pageOf(a, 0), pageOf(a, 500)});
    EXPECT_EQ(report.pages, 3U);
    EXPECT_EQ(texts(), (Texts{"Page 1000 of a", "Page 1 of a", "Page 501 of a"}));
    EXPECT_LT(report.bytes, 10'000U) << "the other pages stay behind";
}

TEST_F(Writing, RepeatsPages) {
    const Source a = source("a", 2);
    write({pageOf(a, 1), pageOf(a, 1), pageOf(a, 0), pageOf(a, 1)});
    EXPECT_EQ(texts(), (Texts{"Page 2 of a", "Page 2 of a", "Page 1 of a", "Page 2 of a"}));
}

TEST_F(Writing, TurnsARepeatedPageEachForItself) {
    const Source a = source("a", 1);
    write({pageOf(a, 0), pageOf(a, 0, 90), pageOf(a, 0, 180)});
    const auto pages = geometries();
    ASSERT_EQ(pages.size(), 3U);
    EXPECT_EQ(pages[0].rotation, 0);
    EXPECT_EQ(pages[1].rotation, 90);
    EXPECT_EQ(pages[2].rotation, 180);
}

TEST_F(Writing, MixesSources) {
    const Source a = source("a", 3);
    const Source b = source("b", 2);
    const Source c = source("c", 200);
    write({pageOf(b, 1), pageOf(a, 0), pageOf(c, 150), pageOf(b, 0), pageOf(a, 2), pageOf(c, 3),
           pageOf(a, 0)});
    EXPECT_EQ(texts(), (Texts{"Page 2 of b", "Page 1 of a", "Page 151 of c", "Page 1 of b",
                              "Page 3 of a", "Page 4 of c", "Page 1 of a"}));
}

TEST_F(Writing, TakesAPageThatItsSourceListsTwice) {
    const Source twice = open(RawPDF()
                                  .object(1, catalogBody)
                                  .object(2, nodeBody("3 0 R 4 0 R 3 0 R", 3))
                                  .object(3, pageBody(2, 300))
                                  .object(4, pageBody(2, 400)));
    ASSERT_TRUE(twice);
    const auto widths = [this]() {
        std::vector<double> all;
        for (const PDFPageGeometry& page : geometries()) {
            all.push_back(page.mediaBox.width());
        }
        return all;
    };
    write(allPagesOf(twice));
    EXPECT_EQ(widths(), (std::vector<double>{300, 400, 300}));
    write({pageOf(twice, 2), pageOf(twice, 0, 90)});
    EXPECT_EQ(widths(), (std::vector<double>{300, 300}));
    EXPECT_EQ(geometries()[0].rotation, 0);
    EXPECT_EQ(geometries()[1].rotation, 90);
}

TEST_F(Writing, BringsRotationsIntoOneTurn) {
    const Source a =
        open(TestPDF("a", 3).setRotation(1, 90).setRotation(2, -90).writeTo(m_folder / "a.pdf"));
    for (const auto& [added, expected] : {std::pair{0, std::vector{0, 90, -90}},
                                          {90, {90, 180, 0}},
                                          {-90, {270, 0, 180}},
                                          {450, {90, 180, 0}},
                                          {-630, {90, 180, 0}},
                                          {720, {0, 90, -90}}}) {
        write({pageOf(a, 0, added), pageOf(a, 1, added), pageOf(a, 2, added)});
        std::vector<int> rotations;
        for (const PDFPageGeometry& page : geometries()) {
            rotations.push_back(page.rotation);
        }
        EXPECT_EQ(rotations, expected) << added;
    }
}

TEST_F(Writing, KeepsEveryBox) {
    const std::string boxes = "/CropBox [10 10 190 290] /BleedBox [11 11 180 280] "
                              "/TrimBox [12 12 170 270] /ArtBox [13 13 160 260] /UserUnit 2";
    const Source few = open(TestPDF("few", 2)
                                .addPageEntry(0, boxes)
                                .setPageSize(0, 200, 300)
                                .writeTo(m_folder / "few.pdf"));
    const Source many = open(TestPDF("many", 50)
                                 .addPageEntry(7, boxes)
                                 .setPageSize(7, 200, 300)
                                 .writeTo(m_folder / "many.pdf"));
    write({pageOf(few, 0), pageOf(few, 1), pageOf(many, 7), pageOf(many, 8)});
    const auto pages = geometries();
    ASSERT_EQ(pages.size(), 4U);
    EXPECT_EQ(pages[0], few->geometry(0));
    EXPECT_EQ(pages[1], few->geometry(1));
    EXPECT_EQ(pages[2], many->geometry(7));
    EXPECT_EQ(pages[3], many->geometry(8));
    EXPECT_EQ(pages[2].artBox, (PDFBox{13, 13, 160, 260}));
    EXPECT_EQ(pages[2].userUnit, 2);
}

TEST_F(Writing, GivesPagesWhatTheyInherited) {
    const auto inherits = [this](int pages) {
        RawPDF pdf;
        std::string kids;
        for (int number = 10; number < 10 + pages; ++number) {
            pdf.object(number, "<< /Type /Page /Parent 2 0 R /Contents 5 0 R >>");
            kids += std::to_string(number) + " 0 R ";
        }
        pdf.object(1, catalogBody)
            .object(2, nodeBody(kids, pages,
                                "/MediaBox [0 0 200 300] /CropBox [0 0 150 150] /Rotate 90 "
                                "/Resources << /Font << /F1 4 0 R >> >>"))
            .object(4, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>")
            .stream(5, "", "BT /F1 12 Tf 20 100 Td (inherited) Tj ET");
        return open(pdf.writeTo(m_folder / (std::to_string(pages) + ".pdf")));
    };
    const Source whole = inherits(1);
    const Source part = inherits(40);
    write({pageOf(whole, 0), pageOf(part, 30), pageOf(part, 31, 90)});
    EXPECT_EQ(texts(), (Texts{"inherited", "inherited", "inherited"}));
    const auto pages = geometries();
    ASSERT_EQ(pages.size(), 3U);
    for (const PDFPageGeometry& page : pages) {
        EXPECT_EQ(page.mediaBox, (PDFBox{0, 0, 200, 300}));
        EXPECT_EQ(page.cropBox, (PDFBox{0, 0, 150, 150}));
    }
    EXPECT_EQ(pages[1].rotation, 90);
    EXPECT_EQ(pages[2].rotation, 180);
}

TEST_F(Writing, OfAnEncryptedSourceComesOutClear) {
    const fs::path plain = TestPDF("secret", 3).writeTo(m_folder / "plain.pdf");
    for (const std::size_t pages : {3U, 1U}) {
        const Source locked =
            open(tests::encryptPDF(plain, m_folder / "locked.pdf", {"user", "owner", {}}));
        const auto unlocked = locked->unlocked("user");
        ASSERT_TRUE(unlocked.has_value());
        write(firstPagesOf(*unlocked, pages));
        EXPECT_FALSE(open(m_output)->isEncrypted());
        EXPECT_EQ(texts().front(), "Page 1 of secret");
        EXPECT_EQ(texts().size(), pages);
    }
}

TEST_F(Writing, MixesEncryptedAndPlainSources) {
    const fs::path plain = TestPDF("secret", 30).writeTo(m_folder / "plain.pdf");
    const Source locked =
        open(tests::encryptPDF(plain, m_folder / "locked.pdf", {"user", "owner", {}}));
    const auto unlocked = locked->unlocked("owner");
    ASSERT_TRUE(unlocked.has_value());
    write({pageOf(source("a", 1), 0), pageOf(*unlocked, 20), pageOf(*unlocked, 4)});
    EXPECT_EQ(texts(), (Texts{"Page 1 of a", "Page 21 of secret", "Page 5 of secret"}));
}

TEST_F(Writing, OfALockedSourceIsRefused) {
    const fs::path plain = TestPDF("secret", 1).writeTo(m_folder / "plain.pdf");
    const Source locked =
        open(tests::encryptPDF(plain, m_folder / "locked.pdf", {"user", "owner", {}}));
    EXPECT_EQ(errorOfWriting({pageOf(locked, 0)}).kind, PDFError::Kind::locked);
    EXPECT_FALSE(fs::exists(m_output));
}

TEST_F(Writing, OfNoPagesMakesOneBlankPageOfTheDefaultPaper) {
    RecordingObserver observer;
    PDFWriteOptions options;
    options.observer = &observer;
    EXPECT_EQ(write({}, options).pages, 1U);
    const auto pages = geometries();
    ASSERT_EQ(pages.size(), 1U);
    EXPECT_EQ(pages[0].displaySize(), defaultPaperSize());
    EXPECT_EQ(texts(), Texts{""});
    EXPECT_EQ(observer.events(), (Texts{"begin 1", "page 0", "end"}));
}

TEST_F(Writing, OfNoPagesMakesNoneWhenToldSo) {
    RecordingObserver observer;
    PDFWriteOptions options;
    options.observer = &observer;
    options.whenEmpty = PDFWriteOptions::WhenEmpty::noPages;
    EXPECT_EQ(write({}, options).pages, 0U);
    EXPECT_EQ(open(m_output)->pageCount(), 0U);
    EXPECT_EQ(observer.events(), (Texts{"begin 0", "end"}));
}

TEST_F(Writing, PutsBlankPagesBetweenOthers) {
    const Source a = source("a", 2);
    write({PDFPage().reference(), pageOf(a, 0), PDFPageReference{nullptr, 0, 90, {300, 400}},
           pageOf(a, 1)});
    EXPECT_EQ(texts(), (Texts{"", "Page 1 of a", "", "Page 2 of a"}));
    const auto pages = geometries();
    ASSERT_EQ(pages.size(), 4U);
    EXPECT_EQ(pages[0].displaySize(), defaultPaperSize());
    EXPECT_EQ(pages[2].displaySize(), (PDFSize{400, 300}));
}

TEST_F(Writing, TellsItsObserverOfEachPageOnceAndInOrder) {
    const Source a = source("a", 100);
    const Source b = source("b", 30);
    std::vector<PDFPageReference> pages = allPagesOf(a);
    for (const PDFPageReference& page : allPagesOf(b)) {
        pages.insert(pages.begin() + 50, page);
    }
    pages.push_back(pages.front());
    pages.push_back(PDFPage().reference());
    RecordingObserver observer;
    PDFWriteOptions options;
    options.observer = &observer;
    write(pages, options);
    Texts expected{"begin 132"};
    for (int page = 0; page < 132; ++page) {
        expected.push_back("page " + std::to_string(page));
    }
    expected.emplace_back("end");
    EXPECT_EQ(observer.events(), expected);
}

TEST_F(Writing, TakesTheHighestVersionOfItsSources) {
    const Source old = open(TestPDF("old", 1).setVersion("1.3").writeTo(m_folder / "old.pdf"));
    const Source young = open(TestPDF("young", 1).setVersion("2.0").writeTo(m_folder / "y.pdf"));
    write({pageOf(old, 0)});
    EXPECT_EQ(open(m_output)->version(), (PDFVersion{1, 5})) << "it uses object streams";
    write({pageOf(old, 0), pageOf(young, 0)});
    EXPECT_EQ(open(m_output)->version(), (PDFVersion{2, 0}));
}

TEST_F(Writing, LeavesNothingOfPagesThatStayBehind) {
    TestPDF pdf("a", 20);
    for (std::size_t page = 0; page < 20; ++page) {
        pdf.setText(page, page == 3 ? "the hidden text" : "page");
    }
    const std::string hidden = std::to_string(pdf.pageObject(3)) + " 0 R";
    pdf.addPageEntry(4, "/Private << /See " + hidden + " /AndSee [" + hidden + "] >>");
    const Source a = open(pdf.writeTo(m_folder / "a.pdf"));
    ASSERT_TRUE(a);
    std::vector<PDFPageReference> pages = allPagesOf(a);
    pages.erase(pages.begin() + 3);
    write(pages);
    EXPECT_EQ(unpackedOutput().find("hidden"), std::string::npos);
    write({pageOf(a, 4)});
    EXPECT_EQ(unpackedOutput().find("hidden"), std::string::npos);
}

TEST_F(Writing, OntoItsOwnSourceIsRight) {
    for (const std::size_t pages : {4U, 40U}) {
        const fs::path path = TestPDF("self", pages).writeTo(m_output);
        const Source self = open(path);
        write({pageOf(self, 3), pageOf(self, 1)});
        EXPECT_EQ(texts(), (Texts{"Page 4 of self", "Page 2 of self"}));
        EXPECT_EQ(widthOf(self, 0), 612) << "the source still is the old file";
        write({pageOf(self, 0), pageOf(self, 1), pageOf(self, 2)});
        EXPECT_EQ(texts(), (Texts{"Page 1 of self", "Page 2 of self", "Page 3 of self"}));
    }
}

TEST_F(Writing, AllPagesOntoTheirOwnSourceIsRight) {
    const Source self = open(TestPDF("self", 3).writeTo(m_output));
    write(allPagesOf(self));
    EXPECT_EQ(texts(), (Texts{"Page 1 of self", "Page 2 of self", "Page 3 of self"}));
}

TEST_F(Writing, TakesPagesOfSourcesThatWereDeletedRenamedOrReplaced) {
    const Source deleted = source("deleted", 20);
    fs::remove(m_folder / "deleted.pdf");
    const Source renamed = source("renamed", 2);
    fs::rename(m_folder / "renamed.pdf", m_folder / "elsewhere.pdf");
    const Source replaced = source("replaced", 20);
    TestPDF("new", 1).writeTo(m_folder / "new.pdf");
    fs::rename(m_folder / "new.pdf", m_folder / "replaced.pdf");
    write({pageOf(deleted, 7), pageOf(renamed, 1), pageOf(replaced, 3)});
    EXPECT_EQ(texts(), (Texts{"Page 8 of deleted", "Page 2 of renamed", "Page 4 of replaced"}));
}

TEST_F(Writing, TheSameSourceAgainAndAgainIsRight) {
    const Source a = source("a", 3);
    for (int round = 0; round < 3; ++round) {
        write({pageOf(a, 2, 90), pageOf(a, 0)});
        EXPECT_EQ(texts(), (Texts{"Page 3 of a", "Page 1 of a"}));
        EXPECT_EQ(geometries()[0].rotation, 90);
        EXPECT_EQ(a->geometry(2)->rotation, 0);
    }
}

TEST_F(Writing, ADocumentWritesItsPagesAsTheyStand) {
    PDFDocument document(source("a", 3));
    document.movePage(2, 0);
    document.pageAtIndex(1)->addRotation(-90);
    document.removePageAtIndex(2);
    document.insertPageAtIndex(std::make_shared<PDFPage>(), 1);
    ASSERT_TRUE(document.writeToFile(m_output).has_value());
    expectSound(m_output);
    EXPECT_EQ(texts(), (Texts{"Page 3 of a", "", "Page 1 of a"}));
    EXPECT_EQ(geometries()[2].rotation, 270);
}

TEST_F(Writing, CopiesAPageWhoseContentsComeInPieces) {
    const auto pieces = [this](int pages) {
        RawPDF pdf;
        std::string kids;
        for (int number = 10; number < 10 + pages; ++number) {
            pdf.object(number, pageBody(2, 200,
                                        "/Contents [5 0 R 6 0 R] /Resources << /Font << /F1 << "
                                        "/Type /Font /Subtype /Type1 /BaseFont /Courier >> >> >>"));
            kids += std::to_string(number) + " 0 R ";
        }
        pdf.object(1, catalogBody)
            .object(2, nodeBody(kids, pages))
            .stream(5, "/Filter [/ASCIIHexDecode]", "4254202f46312031322054662032302034302054 64>")
            .stream(6, "/Filter /FlateDecode", tests::deflated(" (in pieces) Tj ET"));
        return open(pdf.writeTo(m_folder / (std::to_string(pages) + ".pdf")));
    };
    write({pageOf(pieces(1), 0), pageOf(pieces(30), 7)});
    EXPECT_EQ(texts(), (Texts{"in pieces", "in pieces"}));
}

TEST_F(Writing, CopiesStreamsOfUnknownFiltersUntouched) {
    const std::string odd = "\x01\x02 whatever this is \xff";
    RawPDF pdf;
    pdf.object(1, catalogBody).object(2, nodeBody("3 0 R 4 0 R", 2)).object(3, pageBody(2, 100));
    pdf.object(4, pageBody(2, 200, "/Odd 5 0 R"));
    pdf.stream(5, "/Filter /NobodyKnows /DecodeParms << /K 7 /More 6 0 R >> /Own (entry)", odd);
    pdf.object(6, "<< /Deep true >>");
    const Source a = open(pdf);
    ASSERT_TRUE(a);
    for (const auto& pages : {std::vector{pageOf(a, 1)}, allPagesOf(a)}) {
        write(pages);
        const std::string bytes = outputBytes();
        EXPECT_NE(bytes.find(odd), std::string::npos);
        const std::string unpacked = unpackedOutput();
        EXPECT_NE(unpacked.find("/NobodyKnows"), std::string::npos);
        EXPECT_NE(unpacked.find("/K 7"), std::string::npos);
        EXPECT_NE(unpacked.find("(entry)"), std::string::npos);
        EXPECT_NE(unpacked.find("/Deep true"), std::string::npos);
    }
}

} // namespace
} // namespace quillorn
