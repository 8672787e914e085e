#include "platform/pdf/PageLabels.h"
#include "tests/fakes/TestPDF.h"
#include "tests/platform/pdf/SourceTesting.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using Style = PDFPageLabelRange::Style;
using tests::RawPDF;
using Labels = std::vector<std::string>;

TEST(PageNumbers, AreWrittenInRomanNumerals) {
    const std::vector<std::pair<int, std::string>> numbers{
        {1, "i"},        {3, "iii"},      {4, "iv"},        {9, "ix"},          {14, "xiv"},
        {40, "xl"},      {49, "xlix"},    {90, "xc"},       {99, "xcix"},       {400, "cd"},
        {944, "cmxliv"}, {1990, "mcmxc"}, {2026, "mmxxvi"}, {3999, "mmmcmxcix"}};
    for (const auto& [number, text] : numbers) {
        EXPECT_EQ(pageNumberText(Style::lowerRoman, number), text);
    }
    EXPECT_EQ(pageNumberText(Style::upperRoman, 1944), "MCMXLIV");
}

TEST(PageNumbers, AreWrittenInLettersThatRepeat) {
    EXPECT_EQ(pageNumberText(Style::lowerLetters, 1), "a");
    EXPECT_EQ(pageNumberText(Style::lowerLetters, 26), "z");
    EXPECT_EQ(pageNumberText(Style::lowerLetters, 27), "aa");
    EXPECT_EQ(pageNumberText(Style::lowerLetters, 52), "zz");
    EXPECT_EQ(pageNumberText(Style::upperLetters, 55), "CCC");
}

TEST(PageNumbers, BeyondAStyleAreDecimal) {
    EXPECT_EQ(pageNumberText(Style::upperRoman, 10'000), "10000");
    EXPECT_EQ(pageNumberText(Style::lowerLetters, 26'001), "26001");
    EXPECT_EQ(pageNumberText(Style::lowerRoman, 0), "0");
    EXPECT_EQ(pageNumberText(Style::lowerLetters, -3), "-3");
    EXPECT_EQ(pageNumberText(Style::decimal, 12), "12");
    EXPECT_EQ(pageNumberText(Style::none, 12), "");
}

TEST(PageLabel, CountsPositionsWhereNoRangeIs) {
    EXPECT_EQ(pageLabelText({}, 0), "1");
    EXPECT_EQ(pageLabelText({{5, Style::lowerRoman, "", 1}}, 4), "5");
    EXPECT_EQ(pageLabelText({{5, Style::lowerRoman, "", 1}}, 5), "i");
}

TEST(PageLabel, GrowsNoFurtherThanNumbersGo) {
    constexpr int largest = std::numeric_limits<int>::max();
    EXPECT_EQ(pageLabelText({{0, Style::decimal, "", largest}}, 5), std::to_string(largest));
}

class PageLabels : public SourceTesting {
protected:
    static Labels labelsOf(const Source& source, std::size_t count) {
        if (!source) {
            return {};
        }
        const auto ranges = source->labelRanges();
        EXPECT_TRUE(ranges.has_value());
        Labels labels;
        for (std::size_t page = 0; ranges && page < count; ++page) {
            labels.push_back(pageLabelText(*ranges, page));
        }
        return labels;
    }
    Labels labelsOf(const std::string& nums, std::size_t count) {
        return labelsOf(
            open(tests::TestPDF("labels", 1).setLabels(nums).writeTo(m_folder / "in.pdf")), count);
    }
    Labels labelsOf(const RawPDF& pdf, std::size_t count) { return labelsOf(open(pdf), count); }

    /// A document of one page with this catalog entry.
    static RawPDF withLabels(const std::string& entry) {
        return RawPDF()
            .object(1, "<< /Type /Catalog /Pages 2 0 R /PageLabels " + entry + " >>")
            .object(2, nodeBody("3 0 R", 1))
            .object(3, pageBody(2, 100));
    }
};

TEST_F(PageLabels, FollowTheRangesOfTheFile) {
    EXPECT_EQ(labelsOf("0 << /S /r >> 3 << /S /D >> 5 << /S /A /P (App-) /St 3 >> "
                       "7 << /P (Cover) >> 8 << >>",
                       9),
              (Labels{"i", "ii", "iii", "1", "2", "App-C", "App-D", "Cover", ""}));
    EXPECT_EQ(labelsOf("0 << /S /R /St 4 >> 1 << /S /a /St 26 >>", 3), (Labels{"IV", "z", "aa"}));
}

TEST_F(PageLabels, HavePrefixesInAnyEncoding) {
    EXPECT_EQ(labelsOf("0 << /P <FEFF00C40042> >> 1 << /P (\\344) /S /D >> "
                       "2 << /P <EFBBBFC3B6> >>",
                       3),
              (Labels{"\xc3\x84"
                      "B",
                      "\xc3\xa4"
                      "1",
                      "\xc3\xb6"}));
}

TEST_F(PageLabels, AreEmptyWhereTheFileHasNone) {
    const Source source = open(tests::TestPDF("plain", 2).writeTo(m_folder / "in.pdf"));
    ASSERT_TRUE(source);
    EXPECT_TRUE(source->labelRanges()->empty());
    EXPECT_EQ(labelsOf(source, 2), (Labels{"1", "2"}));
}

TEST_F(PageLabels, SurviveBrokenRanges) {
    EXPECT_EQ(labelsOf("-1 << /S /D >> (x) << /S /D >> 0 (no) 1 << /S /X /P 7 >> 2 << /S /D "
                       "/St -5 >> 3",
                       3),
              (Labels{"1", "", "1"}));
    EXPECT_EQ(labelsOf("0 << /S /D /St 99999999999 >>", 1), (Labels{"2147483647"}));
    EXPECT_EQ(labelsOf("9223372036854775807 << /S /D >> 0 << /S /r >>", 2), (Labels{"i", "ii"}));
}

TEST_F(PageLabels, OutOfOrderAreSorted) {
    EXPECT_EQ(labelsOf("2 << /S /D >> 0 << /S /r >>", 3), (Labels{"i", "ii", "1"}));
}

TEST_F(PageLabels, OfATreeAreRead) {
    EXPECT_EQ(labelsOf(withLabels("10 0 R")
                           .object(10, "<< /Kids [11 0 R 12 0 R] >>")
                           .object(11, "<< /Nums [0 << /S /r >>] /Limits [0 0] >>")
                           .object(12, "<< /Nums [2 13 0 R] /Limits [2 2] >>")
                           .object(13, "<< /S /D /St 14 0 R >>")
                           .object(14, "7"),
                       3),
              (Labels{"i", "ii", "7"}));
}

TEST_F(PageLabels, OfATreeThatLoopsAreRead) {
    EXPECT_EQ(labelsOf(withLabels("10 0 R")
                           .object(10, "<< /Kids [10 0 R 11 0 R 10 0 R] >>")
                           .object(11, "<< /Kids [10 0 R 11 0 R] /Nums [0 << /S /r >>] >>"),
                       2),
              (Labels{"i", "ii"}));
}

TEST_F(PageLabels, OfATreeThatLoopsThroughADirectNodeAreRead) {
    EXPECT_EQ(labelsOf(withLabels("<< /Kids 10 0 R >>")
                           .object(10, "[<< /Kids 10 0 R /Nums [0 << /S /r >>] >>]"),
                       2),
              (Labels{"i", "ii"}));
}

TEST_F(PageLabels, OfATreeThatLoopsWithoutAnyEntryAreNone) {
    EXPECT_EQ(labelsOf(withLabels("<< /Kids 10 0 R >>").object(10, "[<< /Kids 10 0 R >>]"), 1),
              (Labels{"1"}));
}

TEST_F(PageLabels, OfSomethingElseAreNone) {
    for (const char* entry : {"7", "[0 << /S /r >>]", "<< /Nums 3 0 R >>", "<< /Kids (x) >>",
                              "<< /Kids [1 (a) null] >>", "99 0 R"}) {
        EXPECT_EQ(labelsOf(withLabels(entry), 1), (Labels{"1"})) << entry;
    }
}

TEST_F(PageLabels, OfALockedFileAreNone) {
    const auto plain =
        tests::TestPDF("locked", 1).setLabels("0 << /S /r >>").writeTo(m_folder / "plain.pdf");
    const Source source =
        open(tests::encryptPDF(plain, m_folder / "locked.pdf", {"secret", "owner", {}}));
    ASSERT_TRUE(source);
    EXPECT_TRUE(source->labelRanges()->empty());
    EXPECT_EQ(labelsOf(*source->unlocked("secret"), 1), Labels{"i"});
}

} // namespace
} // namespace quillorn
