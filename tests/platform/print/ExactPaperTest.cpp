#include "platform/print/ExactPaper.h"

#include "tests/fakes/Program.h"
#include "tests/platform/print/WebFixture.h"

#include <cmath>
#include <cstdio>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

namespace quillorn::tests {
namespace {

PrintInfo onPaper(double width, double height) {
    PrintInfo info = printInfoFor({});
    info.paper = {width, height};
    return info;
}

TEST(ExactPaper, ReplacesTheEnginesBoxes) {
    ExactPaper a4(onPaper(595, 842));
    EXPECT_EQ(a4.corrected("<</MediaBox [0 0 594.95996 841.91998]>> /MediaBox [0 0 1 2]", true),
              "<</MediaBox [-.25 -.33 594.75 841.67]>> /MediaBox [0 0 1 2]");
    ExactPaper letter(onPaper(612, 792));
    EXPECT_EQ(letter.corrected("/MediaBox [0 0 612.95996 792.95996]", true),
              "/MediaBox [-.25 .71 611.75 792.71 ]");
    for (const char* const other :
         {"/MediaBox [0 0 612 792]", "/MediaBox [0 0 612.95996 792]",
          "/MediaBox [0 0 612.95996 792.95996 1]", "/MediaBox [0 0 ", "/MediaBox [0 0 x y]"}) {
        EXPECT_EQ(letter.corrected(other, true), other);
    }
}

TEST(ExactPaper, FindsBoxesWhereverTheBytesAreDivided) {
    const std::string box = "/MediaBox [0 0 594.95996 841.91998]";
    const std::string whole = "begin" + box + box + "middle" + box + "end";
    const std::string expected = ExactPaper(onPaper(595, 842)).corrected(whole, true);
    EXPECT_EQ(expected.size(), whole.size());
    EXPECT_EQ(expected.find(box), std::string::npos);
    for (std::size_t step = 1; step < whole.size(); ++step) {
        ExactPaper paper(onPaper(595, 842));
        std::string result;
        for (std::size_t at = 0; at < whole.size(); at += step) {
            result += paper.corrected(whole.substr(at, step), false);
        }
        result += paper.corrected("", true);
        EXPECT_EQ(result, expected) << step;
    }
}

class PrintedPaper : public WebFixture,
                     public testing::WithParamInterface<std::tuple<double, double>> {};

TEST_P(PrintedPaper, HasItsSizeAndItsMargins) {
    const auto [width, height] = GetParam();
    PrintInfo info = onPaper(width, height);
    info.savePath = output;
    auto content = FolderContent::open(
        file("page.html", "<style>html{background:black}</style><p style='height:3000px'>"));
    ASSERT_TRUE(content);
    WebView view(engine());
    ASSERT_TRUE(view.load(std::move(*content), info));
    ASSERT_TRUE(view.print(info));
    EXPECT_EQ(complaintsAbout(output), "");
    const std::string told = Program("pdfinfo", {output.string()}).run().output;
    double toldWidth = 0;
    double toldHeight = 0;
    ASSERT_EQ(std::sscanf(told.c_str() + told.find("Page size:") + 10, "%lf x %lf", &toldWidth,
                          &toldHeight),
              2);
    EXPECT_NEAR(toldWidth, width, 0.01);
    EXPECT_NEAR(toldHeight, height, 0.01);
    // Ten pixels a point; lines through the middle.
    const auto picture = folders / "picture";
    ASSERT_EQ(Program("pdftoppm", {"-r", "720", "-gray", "-f", "1", "-singlefile", output.string(),
                                   picture.string()})
                  .run()
                  .status,
              0);
    const std::string bytes = readFile(picture.string() + ".pgm");
    std::size_t columns = 0;
    std::size_t rows = 0;
    int start = 0;
    ASSERT_EQ(std::sscanf(bytes.c_str(), "P5 %zu %zu 255%n", &columns, &rows, &start), 2);
    const auto isWhite = [&](std::size_t x, std::size_t y) {
        return bytes.at(static_cast<std::size_t>(start) + 1 + y * columns + x) != '\0';
    };
    const auto whiteAlong = [&](std::size_t length, const auto& isWhiteAt) {
        std::size_t count = 0;
        while (count < length && isWhiteAt(count)) {
            ++count;
        }
        return static_cast<double>(count) / 10;
    };
    const std::size_t x = columns / 2;
    const std::size_t y = rows / 2;
    EXPECT_NEAR(whiteAlong(columns, [&](std::size_t i) { return isWhite(i, y); }), 25, 0.1);
    EXPECT_NEAR(whiteAlong(rows, [&](std::size_t i) { return isWhite(x, i); }), 50, 0.1);
    // A background ends at a whole pixel of the engine's.
    const double right =
        whiteAlong(columns, [&](std::size_t i) { return isWhite(columns - 1 - i, y); });
    const double bottom = whiteAlong(rows, [&](std::size_t i) { return isWhite(x, rows - 1 - i); });
    EXPECT_NEAR(right, 25, 0.4);
    EXPECT_NEAR(bottom, 50, 0.4);
}

INSTANTIATE_TEST_SUITE_P(OfAnyLocale, PrintedPaper,
                         testing::Values(std::tuple(595.0, 842.0), std::tuple(612.0, 792.0)));

} // namespace
} // namespace quillorn::tests
