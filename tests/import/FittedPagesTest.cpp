#include "tests/import/TextConversion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::Le;

/// "a0 a1 a2": words that tell where they come from.
std::string words(const std::string& name, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += name + std::to_string(i) + " ";
    }
    return text;
}

/// A document for large paper on its side with narrow margins, wider than ours.
std::string wideDocument(const std::string& body) {
    return R"({\rtf1\ansi\paperw16838\paperh11906\landscape\margl400\margr400\margt400\margb400 )" +
           body + "}";
}

/// A row of two cells, each eight thousand twentieths of a point wide.
std::string row(const std::string& settings, const std::string& cell, const std::string& first,
                const std::string& second) {
    return R"({\trowd)" + settings + cell + R"(\cellx8000)" + cell + R"(\cellx16000\pard\intbl )" +
           first + R"(\cell )" + second + R"(\cell\row})";
}

/// A picture of one dot, as large as it is told, in twentieths of a point.
std::string picture(int width, int height) {
    return R"({\pict\pngblip\picw1\pich1\picwgoal)" + std::to_string(width) + R"(\pichgoal)" +
           std::to_string(height) +
           " 89504e470d0a1a0a0000000d4948445200000001000000010802000000907753de0000000c49444154789c"
           "63f8cfc0000003010100c9fe92ef0000000049454e44ae426082}";
}

class FittedPagesTest : public TextConversion {
protected:
    /// Every word of `expected` that the text of a conversion lacks.
    static std::vector<std::string> missing(const std::string& text, const std::string& expected) {
        std::vector<std::string> lost;
        std::istringstream wanted(expected);
        for (std::string word; wanted >> word;) {
            if (text.find(word) == std::string::npos) {
                lost.push_back(word);
            }
        }
        return lost;
    }
    /// The right and lower edges of a PDF's pictures: what mutool says of the matrices they are
    /// drawn with.
    struct Edges {
        double right = 0;
        double top = 0;
        double left = 0;
        double bottom = 0;
    };
    [[nodiscard]] std::vector<Edges> pictures(const std::string& name) const {
        std::istringstream trace(
            Program("mutool", {"trace", (cache / name).string()}).run().output);
        std::vector<Edges> all;
        constexpr std::string_view mark = "<fill_image ";
        constexpr std::string_view key = "transform=\"";
        for (std::string line; std::getline(trace, line);) {
            const std::size_t found = line.find(mark);
            const std::size_t at = line.find(key);
            if (found == std::string::npos || at == std::string::npos) {
                continue;
            }
            double a = 0;
            double b = 0;
            double c = 0;
            double d = 0;
            double e = 0;
            double f = 0;
            std::istringstream(line.substr(at + key.size())) >> a >> b >> c >> d >> e >> f;
            all.push_back({e + a, std::max(f, f + d), e, std::min(f, f + d)});
        }
        return all;
    }
};

TEST_F(FittedPagesTest, RowsOfAFixedHeightGrowWithTheirText) {
    const std::string first = words("a", 40);
    const std::string second = words("b", 40);
    const std::string text =
        converted(file("a.rtf", wideDocument(row(R"(\trrh-700)", "", first, second) + "end")));
    EXPECT_THAT(missing(text, first + second + "end"), testing::IsEmpty());
}

TEST_F(FittedPagesTest, ARowKeepsItsHeightWhereItsTextNeedsLess) {
    std::string rows;
    for (int i = 0; i < 20; ++i) {
        rows += row(R"(\trrh-1000)", "", "a", "b");
    }
    // Twenty rows of 50 points do not fit on one page.
    static_cast<void>(converted(file("a.rtf", wideDocument(rows))));
    EXPECT_EQ(pageTexts(cache / "a.rtf").size(), 2U);
}

TEST_F(FittedPagesTest, TablesBecomeAsWideAsTheText) {
    const std::string text = words("a", 30);
    const std::string other = words("b", 30);
    EXPECT_THAT(
        missing(converted(file("a.rtf", wideDocument(row("", "", text, other)))), text + other),
        testing::IsEmpty());
}

TEST_F(FittedPagesTest, TurnedTextInARowOfAFixedHeightIsNotLost) {
    const std::string first = words("a", 40);
    const std::string second = words("b", 40);
    for (const char* const turn : {R"(\cltxbtlr)", R"(\cltxtbrl)"}) {
        const std::string text = converted(
            file("a.rtf", wideDocument(row(R"(\trrh-2000)", turn, first, second) + "end")));
        // Letters that are turned come out in any order; the words are whole.
        EXPECT_THAT(missing(text, first + second + "end"), testing::IsEmpty()) << turn;
    }
}

TEST_F(FittedPagesTest, TurnedTextInARowWithoutAHeightIsNotLost) {
    const std::string first = words("a", 12);
    const std::string second = words("b", 12);
    const std::string text =
        converted(file("a.rtf", wideDocument(row("", R"(\cltxbtlr)", first, second) + "end")));
    EXPECT_THAT(missing(text, first + second + "end"), testing::IsEmpty());
}

TEST_F(FittedPagesTest, PicturesBecomeAsSmallAsTheTextArea) {
    static_cast<void>(converted(file("a.rtf", wideDocument(picture(14000, 3000)))));
    auto seen = pictures("a.rtf");
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_LE(seen[0].right, 595 - 90 + 1);
    EXPECT_NEAR((seen[0].right - seen[0].left) / (seen[0].top - seen[0].bottom), 14.0 / 3, 0.05);
    // One that is too high, too.
    static_cast<void>(converted(file("b.rtf", wideDocument(picture(3000, 20000)))));
    seen = pictures("b.rtf");
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_LE(seen[0].top - seen[0].bottom, 842 - 180 + 1);
    // And one that fits stays as it is.
    static_cast<void>(converted(file("c.rtf", wideDocument(picture(3000, 2000)))));
    seen = pictures("c.rtf");
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_NEAR(seen[0].right - seen[0].left, 150, 1);
}

TEST_F(FittedPagesTest, PicturesFitIntoColumnsAndCells) {
    // Three columns in a text of 415 points.
    static_cast<void>(converted(
        file("a.rtf", wideDocument(R"(\cols3\colsx300 )" + picture(5000, 1000) + " text"))));
    auto seen = pictures("a.rtf");
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_LE(seen[0].right - seen[0].left, 415.0 / 3);
    static_cast<void>(
        converted(file("b.rtf", wideDocument(row("", "", picture(7000, 1000), "beside")))));
    seen = pictures("b.rtf");
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_LE(seen[0].right - seen[0].left, 415.0 / 2 + 1);
}

TEST_F(FittedPagesTest, ADocumentThatKeepsItsPagesStaysAsItIs) {
    static_cast<void>(converted(file("a.rtf", wideDocument(picture(14000, 3000))), true));
    const auto seen = pictures("a.rtf");
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_NEAR(seen[0].right - seen[0].left, 700, 1);
}

TEST_F(FittedPagesTest, ATableOfThousandsOfCellsIsWhole) {
    std::string rows;
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        rows += row(R"(\trrh-300)", "", "a" + number, "b" + number);
        expected += "a" + number + " b" + number + " ";
    }
    EXPECT_THAT(missing(converted(file("a.rtf", wideDocument(rows))), expected),
                testing::IsEmpty());
}

TEST_F(FittedPagesTest, ADocumentOfAbsurdlyManyPagesIsRefused) {
    std::string pages;
    for (int i = 0; i < 5100; ++i) {
        pages += R"(x\page )";
    }
    EXPECT_EQ(converted(file("a.rtf", R"({\rtf1\ansi )" + pages + "}")),
              "refused: it has more than 5000 pages");
    EXPECT_THAT(namesIn(cache), testing::IsEmpty());
}

} // namespace
} // namespace quillorn::tests
