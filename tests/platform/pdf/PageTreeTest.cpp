#include "tests/platform/pdf/SourceTesting.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using tests::RawPDF;

class PageTrees : public SourceTesting {
protected:
    /// The widths of all pages.
    static std::vector<double> widthsOf(const Source& source) {
        std::vector<double> widths;
        for (std::size_t page = 0; source && page < source->pageCount(); ++page) {
            widths.push_back(widthOf(source, page));
        }
        return widths;
    }
};
using Widths = std::vector<double>;

std::string reference(int number) {
    return std::to_string(number) + " 0 R ";
}

/// Pages `first` to `first + count - 1`, as wide as their numbers, below the node `parent`.
std::string addPages(RawPDF& pdf, int parent, int first, int count) {
    std::string kids;
    for (int number = first; number < first + count; ++number) {
        pdf.object(number, pageBody(parent, number));
        kids += reference(number);
    }
    return kids;
}

TEST_F(PageTrees, FlatAreReadInTheirOrder) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, nodeBody("5 0 R 3 0 R 4 0 R", 3))
                                .object(3, pageBody(2, 300))
                                .object(4, pageBody(2, 400))
                                .object(5, pageBody(2, 500)))),
              (Widths{500, 300, 400}));
}

TEST_F(PageTrees, OfManyLevelsAreReadInTheirOrder) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, nodeBody("3 0 R 4 0 R 5 0 R", 4))
                                .object(3, nodeBody("6 0 R 7 0 R", 2))
                                .object(4, pageBody(2, 400))
                                .object(5, nodeBody("8 0 R", 1))
                                .object(6, pageBody(3, 600))
                                .object(7, pageBody(3, 700))
                                .object(8, nodeBody("9 0 R", 1))
                                .object(9, pageBody(8, 900)))),
              (Widths{600, 700, 400, 900}));
}

TEST_F(PageTrees, OfTenThousandPagesAreReadWithoutTheirPageObjects) {
    // All pages but the first and the last are announced where no object stands.
    RawPDF pdf;
    std::string kids;
    for (int number = 3; number < 10'003; ++number) {
        kids += reference(number);
        pdf.claimOffset(number, 5);
    }
    pdf.object(1, catalogBody).object(2, nodeBody(kids, 10'000));
    pdf.object(10'010, pageBody(2, 300)).object(10'011, pageBody(2, 400));
    std::string list = "10010 0 R " + kids + "10011 0 R ";
    pdf.object(2, nodeBody(list, 10'002));
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->pageCount(), 10'002U);
    EXPECT_EQ(countedPages(source), 10'002U);
    EXPECT_TRUE(source->warnings().empty());
    EXPECT_EQ(widthOf(source, 0), 300);
    EXPECT_EQ(widthOf(source, 10'001), 400);
    const auto damaged = source->geometry(5'000);
    ASSERT_FALSE(damaged.has_value());
    EXPECT_EQ(damaged.error().kind, PDFError::Kind::damagedPage);
    EXPECT_EQ(widthOf(source, 0), 300);
}

TEST_F(PageTrees, RefuseOnlyTheMissingPageOfALongFlatDocument) {
    RawPDF pdf;
    const std::string kids = addPages(pdf, 2, 3, 10'000);
    pdf.object(1, catalogBody).object(2, nodeBody(kids, 10'000));
    pdf.object(5003, "(no page at all)");
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->pageCount(), 10'000U);
    EXPECT_EQ(widthOf(source, 4'999), 5002);
    EXPECT_EQ(widthOf(source, 5'001), 5004);
    EXPECT_EQ(widthOf(source, 9'999), 10'002);
    const auto damaged = source->geometry(5'000);
    ASSERT_FALSE(damaged.has_value());
    EXPECT_EQ(damaged.error().kind, PDFError::Kind::damagedPage);
    EXPECT_EQ(damaged.error().reason, "page 5001 cannot be read");
}

TEST_F(PageTrees, BalancedOverThousandsOfPagesAreReadInTheirOrder) {
    RawPDF pdf;
    std::string nodes;
    for (int node = 0; node < 50; ++node) {
        const int number = 10 + node;
        nodes += reference(number);
        const int first = 100 + node * 40;
        pdf.object(number, nodeBody(addPages(pdf, number, first, 40), 40));
    }
    pdf.object(1, catalogBody).object(2, nodeBody(nodes, 2000));
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->pageCount(), 2000U);
    EXPECT_EQ(countedPages(source), 2000U);
    for (const std::size_t page : {0U, 39U, 40U, 1'000U, 1'999U}) {
        EXPECT_EQ(widthOf(source, page), 100.0 + static_cast<double>(page));
    }
    EXPECT_FALSE(source->geometry(2000).has_value());
}

TEST_F(PageTrees, OfPagesAndNodesSideBySideAreReadInTheirOrder) {
    // As many children as pages, and yet not all of them are pages.
    RawPDF pdf;
    std::string kids = addPages(pdf, 2, 100, 299);
    pdf.object(50, nodeBody("51 0 R", 1)).object(51, pageBody(50, 5000));
    pdf.object(1, catalogBody).object(2, nodeBody(kids + "50 0 R", 300));
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(countedPages(source), 300U);
    EXPECT_EQ(widthOf(source, 298), 398);
    EXPECT_EQ(widthOf(source, 299), 5000);
}

TEST_F(PageTrees, WithPagesAsDirectObjectsAreRead) {
    EXPECT_EQ(widthsOf(open(RawPDF().object(
                  1, "<< /Type /Catalog /Pages << /Type /Pages /Count 2 /Kids [" +
                         pageBody(9, 300) + nodeBody(pageBody(9, 400), 1) + "] >> >>"))),
              (Widths{300, 400}));
}

TEST_F(PageTrees, WithNullAndForeignKidsLeaveThoseOut) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, nodeBody("null 3 0 R 99 0 R 7 (text) [3 0 R] 4 0 R", 7))
                                .object(3, pageBody(2, 300))
                                .object(4, pageBody(2, 400)))),
              (Widths{300, 400}));
}

TEST_F(PageTrees, WithNullKidsAmongHundredsLeaveThoseOut) {
    RawPDF pdf;
    const std::string first = addPages(pdf, 2, 100, 200);
    const std::string second = addPages(pdf, 2, 300, 200);
    pdf.object(1, catalogBody).object(2, nodeBody(first + "null " + second, 401));
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(countedPages(source), 400U);
    EXPECT_EQ(widthOf(source, 200), 300);
}

// The number of a page must not depend on whether the document was opened anew in between.
TEST_F(PageTrees, WithEntriesThatAreNoPagesNumberTheOthersAlways) {
    for (const char* kids : {"5 0 R 3 0 R 4 0 R", "3 0 R 5 0 R 4 0 R", "null 3 0 R 4 0 R"}) {
        const Source source = open(RawPDF()
                                       .object(1, catalogBody)
                                       .object(2, nodeBody(kids, 3))
                                       .object(3, pageBody(2, 300))
                                       .object(4, pageBody(2, 400))
                                       .object(5, "<< /Type /Pages /Parent 2 0 R >>"));
        EXPECT_EQ(widthsOf(source), (Widths{300, 400})) << kids;
        source->releaseReader();
        EXPECT_EQ(widthOf(source, 0), 300) << kids;
        source->releaseReader();
        EXPECT_EQ(widthOf(source, 1), 400) << kids;
    }
}

TEST_F(PageTrees, OfHundredsOfPagesAfterAnEmptyNodeNumberThemAlways) {
    RawPDF pdf;
    pdf.object(1, catalogBody).object(2, nodeBody("3 0 R " + addPages(pdf, 2, 100, 400), 401));
    pdf.object(3, "<< /Type /Pages /Parent 2 0 R >>");
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(widthOf(source, 0), 100);
        EXPECT_EQ(widthOf(source, 399), 499);
        source->releaseReader();
    }
}

TEST_F(PageTrees, ThatLoopEndAllTheSame) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, nodeBody("3 0 R 4 0 R", 2))
                                .object(3, nodeBody("2 0 R 3 0 R 5 0 R", 2))
                                .object(4, pageBody(2, 400))
                                .object(5, pageBody(3, 500)))),
              (Widths{500, 400}));
}

TEST_F(PageTrees, ThatLoopThroughADirectNodeEndAllTheSame) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, "<< /Type /Pages /Count 2 /Kids 3 0 R >>")
                                .object(3, "[ 4 0 R << /Type /Pages /Count 1 /Kids 3 0 R >> ]")
                                .object(4, pageBody(2, 400)))),
              (Widths{400}));
}

TEST_F(PageTrees, ThatShareOneListOfKidsManyTimesDoNotExplode) {
    // 1,000 nodes over one list of 1,000 pages would make a million of a small file; each list
    // counts once.
    RawPDF pdf;
    std::string nodes;
    for (int number = 2000; number < 3000; ++number) {
        pdf.object(number, "<< /Type /Pages /Count 1000 /Kids 3 0 R >>");
        nodes += reference(number);
    }
    const std::string pages = addPages(pdf, 2, 10, 1000);
    pdf.object(1, catalogBody).object(2, nodeBody(nodes, 1'000'000));
    pdf.object(3, "[" + pages + "]");
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(countedPages(source), 1000U);
}

TEST_F(PageTrees, ThatAreDeepChainsAreReadToTheBottom) {
    RawPDF pdf;
    constexpr int depth = 50'000;
    for (int number = 2; number < 2 + depth; ++number) {
        pdf.object(number, nodeBody(reference(number + 1), 1));
    }
    pdf.object(1, catalogBody).object(2 + depth, pageBody(1 + depth, 321));
    EXPECT_EQ(widthsOf(open(pdf)), (Widths{321}));
}

TEST_F(PageTrees, ThatListAPageTwiceHaveItTwice) {
    const Source source = open(RawPDF()
                                   .object(1, catalogBody)
                                   .object(2, nodeBody("3 0 R 4 0 R 3 0 R", 3))
                                   .object(3, pageBody(2, 300))
                                   .object(4, pageBody(2, 400)));
    EXPECT_EQ(widthsOf(source), (Widths{300, 400, 300}));
}

TEST_F(PageTrees, ThatStateAWrongCountAreCountedWhenTheyAreSmall) {
    for (const int count : {-5, 0, 1, 200}) {
        EXPECT_EQ(widthsOf(open(RawPDF()
                                    .object(1, catalogBody)
                                    .object(2, nodeBody("3 0 R 4 0 R", count))
                                    .object(3, pageBody(2, 300))
                                    .object(4, pageBody(2, 400)))),
                  (Widths{300, 400}))
            << count;
    }
}

TEST_F(PageTrees, WithoutACountAreCounted) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, "<< /Type /Pages /Kids [3 0 R] /Count /Many >>")
                                .object(3, pageBody(2, 300)))),
              (Widths{300}));
}

TEST_F(PageTrees, ThatStateTooManyPagesAreFoundOutByCounting) {
    RawPDF pdf;
    pdf.object(1, catalogBody).object(2, nodeBody("3 0 R 4 0 R", 500));
    pdf.object(3, pageBody(2, 300)).object(4, pageBody(2, 400));
    for (int i = 5; i <= 600; ++i) {
        pdf.object(i, "<< >>"); // a file that could hold as many pages as it states
    }
    const Source source = open(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->pageCount(), 500U); // as stated; nobody looked yet
    EXPECT_EQ(widthOf(source, 1), 400);
    const auto missing = source->geometry(2);
    ASSERT_FALSE(missing.has_value());
    EXPECT_EQ(missing.error().kind, PDFError::Kind::damagedPage);
    EXPECT_EQ(missing.error().reason, "there is no page 3");
    EXPECT_EQ(countedPages(source), 2U);
}

TEST_F(PageTrees, ThatStateAbsurdNumbersOfPagesAreCountedAtOnce) {
    for (const char* count : {"1000000000", "9223372036854775807"}) {
        const Source source = open(RawPDF()
                                       .object(1, catalogBody)
                                       .object(2, std::string("<< /Type /Pages /Kids [3 0 R] ") +
                                                      "/Count " + count + " >>")
                                       .object(3, pageBody(2, 300)));
        ASSERT_TRUE(source);
        EXPECT_EQ(source->pageCount(), 1U);
    }
}

TEST_F(PageTrees, MayBeASinglePageTheCatalogPointsAt) {
    EXPECT_EQ(
        widthsOf(open(RawPDF().object(1, catalogBody).object(2, "<< /MediaBox [0 0 222 9] >>"))),
        (Widths{222}));
}

TEST_F(PageTrees, ThatAreEmptyHaveNoPages) {
    EXPECT_EQ(widthsOf(open(RawPDF().object(1, catalogBody).object(2, nodeBody("", 0)))), Widths{});
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, "<< /Type /Pages "
                                           "/Count 0 >>"))),
              Widths{});
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, catalogBody)
                                .object(2, nodeBody("3 0 R 4 0 R", 1))
                                .object(3, nodeBody("", 0))
                                .object(4, pageBody(2, 400)))),
              (Widths{400}));
}

TEST_F(PageTrees, ThatAreMissingAreReplacedByThePagesThatAreThere) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, "<< /Type /Catalog >>")
                                .object(3, pageBody(2, 300))
                                .object(4, "<< /Type /Font >>")
                                .object(5, pageBody(2, 500)))),
              (Widths{300, 500}));
    EXPECT_EQ(widthsOf(open(
                  RawPDF().object(1, catalogBody).object(2, "(gone)").object(3, pageBody(2, 300)))),
              (Widths{300}));
}

TEST_F(PageTrees, ThatAreMissingLeaveInheritedBoxesToTheirPages) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .object(1, "<< /Type /Catalog >>")
                                .object(2, nodeBody("3 0 R", 1, "/MediaBox [0 0 77 88]"))
                                .object(3, "<< /Type /Page /Parent 2 0 R >>")
                                .object(4, "<< /Type /Page /Parent 4 0 R >>"))),
              (Widths{77, 612}));
}

TEST_F(PageTrees, HandDownBoxesAndRotationToTheNearestStatement) {
    const Source source =
        open(RawPDF()
                 .object(1, catalogBody)
                 .object(2, nodeBody("3 0 R 7 0 R", 4,
                                     "/MediaBox [0 0 200 200] /CropBox [10 10 190 190] /Rotate 90"))
                 .object(3, nodeBody("4 0 R 5 0 R 6 0 R", 3, "/MediaBox 8 0 R /Rotate 180"))
                 .object(4, "<< /Type /Page /Parent 3 0 R >>")
                 .object(5, "<< /Type /Page /Parent 3 0 R /CropBox [1 2 3 4] /Rotate 270 >>")
                 .object(6, "<< /Type /Page /Parent 3 0 R /MediaBox null /Rotate null >>")
                 .object(7, "<< /Type /Page /Parent 2 0 R >>")
                 .object(8, "[0 0 300 9 0 R]")
                 .object(9, "333"));
    ASSERT_TRUE(source);
    ASSERT_EQ(source->pageCount(), 4U);
    const PDFBox inner{0, 0, 300, 333};
    const PDFBox crop{10, 10, 190, 190};
    EXPECT_EQ(source->geometry(0)->mediaBox, inner);
    EXPECT_EQ(source->geometry(0)->cropBox, crop);
    EXPECT_EQ(source->geometry(0)->rotation, 180);
    EXPECT_EQ(source->geometry(1)->mediaBox, inner);
    EXPECT_EQ(source->geometry(1)->cropBox, (PDFBox{1, 2, 3, 4}));
    EXPECT_EQ(source->geometry(1)->rotation, 270);
    EXPECT_EQ(source->geometry(2)->mediaBox, inner);
    EXPECT_EQ(source->geometry(2)->rotation, 180);
    EXPECT_EQ(source->geometry(3)->mediaBox, (PDFBox{0, 0, 200, 200}));
    EXPECT_EQ(source->geometry(3)->rotation, 90);
}

TEST_F(PageTrees, HandDownWhatPagesStateInNoUsableForm) {
    const Source source = open(
        RawPDF()
            .object(1, catalogBody)
            .object(2, nodeBody("3 0 R 4 0 R 5 0 R", 3,
                                "/MediaBox [0 0 200 100] /CropBox [10 10 90 90] /Rotate 90"))
            .object(3, "<< /Type /Page /Parent 2 0 R /MediaBox (x) /CropBox 7 /Rotate /x >>")
            .object(4, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 300] /CropBox [1 /x 3 4] >>")
            .object(5, "<< /Type /Page /Parent 2 0 R /MediaBox << >> /Rotate 180.0 >>"));
    ASSERT_TRUE(source);
    ASSERT_EQ(source->pageCount(), 3U);
    for (std::size_t page = 0; page < 3; ++page) {
        EXPECT_EQ(source->geometry(page)->mediaBox, (PDFBox{0, 0, 200, 100})) << page;
        EXPECT_EQ(source->geometry(page)->cropBox, (PDFBox{10, 10, 90, 90})) << page;
        EXPECT_EQ(source->geometry(page)->rotation, 90) << page;
    }
}

TEST_F(PageTrees, HandDownToAPageInTwoPlacesWhatItHasInTheFirst) {
    const Source source = open(RawPDF()
                                   .object(1, catalogBody)
                                   .object(2, nodeBody("3 0 R 4 0 R", 2))
                                   .object(3, nodeBody("5 0 R", 1, "/MediaBox [0 0 300 100]"))
                                   .object(4, nodeBody("5 0 R", 1, "/MediaBox [0 0 400 100]"))
                                   .object(5, "<< /Type /Page /Parent 4 0 R >>"));
    EXPECT_EQ(widthsOf(source), (Widths{300, 300}));
    source->releaseReader();
    EXPECT_EQ(widthOf(source, 1), 300);
}

TEST_F(PageTrees, InObjectStreamsAreRead) {
    EXPECT_EQ(widthsOf(open(RawPDF()
                                .objectStream(9, {{1, catalogBody},
                                                  {2, nodeBody("3 0 R 4 0 R", 2)},
                                                  {3, pageBody(2, 300)}})
                                .object(4, pageBody(2, 400)))),
              (Widths{300, 400}));
}

} // namespace
} // namespace quillorn
