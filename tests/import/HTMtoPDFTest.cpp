#include "import/HTMtoPDF.h"

#include "tests/fakes/Environment.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/WebArchiveFile.h"

#include <cmath>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <stop_token>
#include <string>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HTMtoPDFTest : public testing::Test {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does

    HTMtoPDFTest() {
        fs::create_directory(folder / "cache");
        fs::create_directory(folder / "site");
    }
    [[nodiscard]] std::string file(const std::string& name, const std::string& text) const {
        writeFile(folder / "site" / name, text);
        return (folder / "site" / name).string();
    }
    /// The text of the PDF that the page becomes, or "refused: " with the reason.
    std::string converted(const std::string& path) {
        const auto pdf = converter.html2PDF(path, {});
        if (!pdf) {
            return "refused: " + pdf.error().message + " " + pdf.error().reason;
        }
        EXPECT_EQ(*pdf, (cache / fs::path(path).filename()).string());
        EXPECT_EQ(complaintsAbout(*pdf), "");
        std::string text;
        for (const std::string& page : pageTexts(*pdf)) {
            text += page;
        }
        return text;
    }

    const TemporaryFolder folder;
    const fs::path cache = folder / "cache";
    WebPageConverter converter{{cache, false}};
};

TEST_F(HTMtoPDFTest, PrintsToTheCacheUnderTheSourcesOwnName) {
    WebEngine engine;
    const std::string path = file("page.html", "<p>text</p>");
    HTMtoPDF single = HTMtoPDF::initWithHtmlFile(path, cache, engine);
    EXPECT_EQ(single.tmpFileName(), cache / "page.html");
    EXPECT_EQ(single.printInfo().savePath, single.tmpFileName());
    EXPECT_EQ(single.printInfo().jobDisposition, PrintInfo::JobDisposition::save);
    EXPECT_EQ(single.printInfo().topMargin, 50);
    EXPECT_EQ(single.printInfo().bottomMargin, 50);
    EXPECT_EQ(single.printInfo().leftMargin, 25);
    EXPECT_EQ(single.printInfo().rightMargin, 25);
    EXPECT_EQ(engine.processGroup(), 0) << "nothing is started before a page is loaded";
    ASSERT_TRUE(single.loadDataToView(path));
    EXPECT_THAT(namesIn(cache), ElementsAre("page.html"));
    EXPECT_THAT(pageTexts(cache / "page.html"), ElementsAre("text"));
}

TEST_F(HTMtoPDFTest, TakesEveryKindOfWebPage) {
    EXPECT_EQ(converted(file("a.html", "<p>html</p>")), "html");
    EXPECT_EQ(converted(file("b.HTM", "<p>htm</p>")), "htm");
    const ArchivedPage page = {{"http://a.example/", "text/html", "<p>archive</p>", ""}, {}, {}};
    EXPECT_EQ(converted(file("c.webarchive", binaryWebArchive(page))), "archive");
    EXPECT_EQ(converted(file("d.WebArchive", xmlWebArchive(page))), "archive");
    EXPECT_THAT(namesIn(cache), ElementsAre("a.html", "b.HTM", "c.webarchive", "d.WebArchive"));
}

TEST_F(HTMtoPDFTest, PrintsOverAnEarlierResult) {
    const std::string path = file("page.html", "<p>first</p>");
    EXPECT_EQ(converted(path), "first");
    writeFile(path, "<p>second</p>");
    EXPECT_EQ(converted(path), "second");
    EXPECT_THAT(namesIn(cache), ElementsAre("page.html"));
}

TEST_F(HTMtoPDFTest, AfterARefusalNothingIsThere) {
    const std::string path = file("page.webarchive", "no archive");
    writeFile(cache / "page.webarchive", "an earlier result");
    EXPECT_EQ(converted(path), "refused: page.webarchive is not a legal file. it is no property "
                               "list, which a web archive is");
    EXPECT_THAT(namesIn(cache), IsEmpty());
    EXPECT_THAT(converted((folder / "site/gone.html").string()),
                HasSubstr("No such file or directory"));
    EXPECT_THAT(converted((folder / "site").string()), HasSubstr("it is a folder, not a file"));
}

TEST_F(HTMtoPDFTest, IsStoppedWhenAskedTo) {
    std::stop_source stop;
    stop.request_stop();
    const auto pdf = converter.html2PDF(file("page.html", "text"), stop.get_token());
    EXPECT_FALSE(pdf);
    EXPECT_THAT(namesIn(cache), IsEmpty());
}

/// "595 x 842" of the first page.
std::string paperOf(const fs::path& pdf) {
    const std::string told = Program("pdfinfo", {pdf.string()}).run().output;
    const std::size_t start = told.find("Page size:") + 10;
    double width = 0;
    double height = 0;
    EXPECT_EQ(std::sscanf(told.c_str() + start, "%lf x %lf", &width, &height), 2) << told;
    return std::to_string(std::lround(width)) + " x " + std::to_string(std::lround(height));
}

TEST_F(HTMtoPDFTest, UsesThePaperOfTheLocale) {
    const std::string path = file("page.html", "<style>@page{size:A6 landscape}</style>text");
    {
        const EnvironmentVariable all("LC_ALL", std::nullopt);
        const EnvironmentVariable language("LANG", "C");
        const EnvironmentVariable paper("LC_PAPER", "C");
        EXPECT_EQ(converted(path), "text");
        EXPECT_EQ(paperOf(cache / "page.html"), "595 x 842");
    }
}

TEST_F(HTMtoPDFTest, MarginsAreThoseOfThePaperWhateverThePageSays) {
    const std::string style =
        "html{background:black} body{margin:0} @page{margin:0;size:A3} "
        "@page :first{margin:0!important} @layer x{@page{margin:1cm!important}}";
    std::string html = "<style>" + style + "</style>";
    for (int i = 0; i < 200; ++i) {
        html += "<p>line</p>";
    }
    EXPECT_THAT(converted(file("page.html", html)), HasSubstr("line"));
    const fs::path picture = folder / "picture";
    ASSERT_EQ(
        Program("pdftoppm", {"-r", "72", "-gray", (cache / "page.html").string(), picture.string()})
            .run()
            .status,
        0);
    int sheets = 0;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
        if (entry.path().extension() != ".pgm") {
            continue;
        }
        ++sheets;
        const std::string bytes = readFile(entry.path());
        std::size_t width = 0;
        std::size_t height = 0;
        int start = 0;
        ASSERT_EQ(std::sscanf(bytes.c_str(), "P5 %zu %zu 255%n", &width, &height, &start), 2);
        const auto isWhite = [&](std::size_t x, std::size_t y) {
            return bytes.at(static_cast<std::size_t>(start) + 1 + y * width + x) == '\xff';
        };
        // Pixels are points here. One beside each edge may be mixed.
        for (const std::size_t x : {std::size_t{0}, width / 2, width - 1}) {
            EXPECT_TRUE(isWhite(x, 48) && isWhite(x, height - 50)) << entry.path();
        }
        for (const std::size_t y : {std::size_t{60}, height / 2, height - 61}) {
            EXPECT_TRUE(isWhite(23, y) && isWhite(width - 25, y)) << entry.path();
            EXPECT_FALSE(isWhite(27, y) || isWhite(width - 28, y)) << entry.path();
        }
        EXPECT_FALSE(isWhite(width / 2, 52)) << entry.path();
    }
    EXPECT_GT(sheets, 3);
}

} // namespace
} // namespace quillorn::tests
