#include "tests/fakes/Program.h"
#include "tests/fakes/TestPDF.h"
#include "tests/fakes/WebArchiveFile.h"
#include "tests/platform/print/WebFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class WebViewTest : public WebFixture {
protected:
    std::string printedArchive(const ArchivedPage& page) {
        auto archive = WebArchive::parse(xmlWebArchive(page));
        EXPECT_TRUE(archive) << archive.error();
        const auto result = print(std::move(*archive));
        EXPECT_TRUE(result) << result.error().reason;
        return result ? allText() : std::string();
    }
};

TEST_F(WebViewTest, PrintsAPageAsAFlawlessPdf) {
    EXPECT_THAT(printed("<!DOCTYPE html><title>t</title><p>Good morning</p>"),
                HasSubstr("Good morning"));
    EXPECT_EQ(complaintsAbout(output), "");
}

TEST_F(WebViewTest, PrintsLongPagesOnManySheets) {
    std::string html = "<!DOCTYPE html>";
    for (int i = 1; i <= 500; ++i) {
        html += "<p>Paragraph " + std::to_string(i) + "</p>";
    }
    const std::string text = printed(html);
    EXPECT_THAT(text, AllOf(HasSubstr("Paragraph 1\n"), HasSubstr("Paragraph 500")));
    EXPECT_GT(pageTexts(output).size(), 10U);
}

TEST_F(WebViewTest, UsesStylesScriptsAndFontsOfThePagesFolder) {
    file("style/a.css", ".hidden{display:none} #late::after{content:'from the style sheet'}");
    file("script.js", "document.getElementById('s').textContent = 'from the script';");
    EXPECT_THAT(printed("<link rel=stylesheet href='style/a.css'><p class=hidden>hidden</p>"
                        "<p id=late></p><p id=s></p><script src=script.js></script>"),
                AllOf(HasSubstr("from the style sheet"), HasSubstr("from the script"),
                      Not(HasSubstr("hidden"))));
}

TEST_F(WebViewTest, UsesTheStylesForPaper) {
    EXPECT_THAT(printed("<style>@media screen{.p{display:none}} @media print{.s{display:none}}"
                        "</style><p class=s>on the screen</p><p class=p>on paper</p>"),
                AllOf(HasSubstr("on paper"), Not(HasSubstr("on the screen"))));
}

TEST_F(WebViewTest, WhatFadesInIsOnPaper) {
    const auto picture = [this](const std::string& html) {
        static_cast<void>(printed(html));
        const ProgramResult drawn =
            Program("pdftoppm", {"-r", "50", "-gray", "-singlefile", output.string()}).run();
        EXPECT_EQ(drawn.status, 0) << drawn.errors;
        return drawn.output;
    };
    const std::string html = "<style>@media print { b { color: black!important } }</style>"
                             "<p>faded in</p><b style='color:white'>blackened</b>";
    const std::string moving = "<style>@keyframes in { from { opacity: 0 } }"
                               "p { animation: in 60s } b { transition: color 60s }"
                               "@keyframes on { to { opacity: 1 } }"
                               "body { animation: on 60s infinite }</style>";
    for (const char* const script : {"", "<script>1</script>"}) {
        EXPECT_TRUE(picture(html + moving + script) == picture(html + script)) << script;
    }
}

TEST_F(WebViewTest, LetsPagesPrepareForPrinting) {
    EXPECT_THAT(printed("<p id=a>before</p><script>addEventListener('beforeprint', () => "
                        "a.textContent = 'prepared')</script>"),
                HasSubstr("prepared"));
}

TEST_F(WebViewTest, ShowsFramesOfTheFolder) {
    file("frame.html", "<p>inside the frame</p>");
    EXPECT_THAT(printed("<p>outside</p><iframe src=frame.html></iframe>"),
                AllOf(HasSubstr("outside"), HasSubstr("inside the frame")));
}

TEST_F(WebViewTest, WorksWithScriptsAndStylesForbidden) {
    EXPECT_THAT(printed("<meta http-equiv=Content-Security-Policy content=\"default-src 'none'\">"
                        "<p>strict</p>"),
                HasSubstr("strict"));
}

TEST_F(WebViewTest, ReadsEveryEncodingThatAPageDeclares) {
    EXPECT_THAT(printed("<meta charset=utf-8><p>gr\xc3\xbc\xc3\x9f</p>"),
                HasSubstr("gr\xc3\xbc\xc3\x9f"));
    EXPECT_THAT(printed("<meta charset=iso-8859-1><p>gr\xfc\xdf</p>"),
                HasSubstr("gr\xc3\xbc\xc3\x9f"));
    std::string wide("\xff\xfe", 2);
    for (const char ch : std::string("<p>wide</p>")) {
        wide += std::string{ch, '\0'};
    }
    EXPECT_THAT(printed(wide), HasSubstr("wide"));
}

TEST_F(WebViewTest, PrintsEmptyAndBrokenPages) {
    EXPECT_EQ(printed(""), "\n");
    EXPECT_THAT(printed("<p>no end <b><table><tr><td>cell"), HasSubstr("cell"));
    EXPECT_THAT(printed("just text"), HasSubstr("just text"));
    EXPECT_EQ(complaintsAbout(output), "");
}

TEST_F(WebViewTest, TakesOddFileNames) {
    const auto result = print(file("a #b?c%41 \xc3\xa4.html", "<p>odd</p><img src='#'>"));
    ASSERT_TRUE(result) << result.error().reason;
    EXPECT_THAT(allText(), HasSubstr("odd"));
}

TEST_F(WebViewTest, MissingPiecesDoNotMatter) {
    EXPECT_THAT(printed("<link rel=stylesheet href=gone.css><script src=gone.js></script>"
                        "<img src=gone.png><iframe src=gone.html></iframe><p>the rest</p>"),
                HasSubstr("the rest"));
}

TEST_F(WebViewTest, ReplacesAnOlderPdfAndLeavesNothingElse) {
    writeFile(output, "an older one");
    const std::string text = printed("<p>the new one</p>");
    EXPECT_THAT(text, HasSubstr("the new one"));
    EXPECT_THAT(folders.names(), testing::ElementsAre("output.pdf", "site"));
}

TEST_F(WebViewTest, SaysWhereThePdfCannotBeWritten) {
    auto content = FolderContent::open(file("page.html", "text"));
    ASSERT_TRUE(content);
    const PrintInfo info = printInfoFor(folders / "nowhere" / "output.pdf");
    WebView view(engine());
    ASSERT_TRUE(view.load(std::move(*content), info));
    const auto result = view.print(info);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, WebError::Kind::notWritten);
    EXPECT_THAT(result.error().reason, HasSubstr("No such file or directory"));
    EXPECT_FALSE(view.print(info)) << "a page is printed once";
}

TEST_F(WebViewTest, PrintsAnArchiveWithItsFilesAndFrames) {
    const ArchivedPage page = {
        {"https://example.com/", "text/html",
         "<link rel=stylesheet href=a.css><p id=a></p><iframe src=https://other.example/f.html>"
         "</iframe><img src=https://example.com/gone.png>",
         "utf-8"},
        {{"https://example.com/a.css", "text/css", "#a::after{content:'styled'}", ""}},
        {{{"https://other.example/f.html", "text/html", "<script src=s.js></script><p>frame",
           "utf-8"},
          {{"https://other.example/s.js", "text/javascript", "document.write('scripted')", ""}},
          {}}}};
    EXPECT_THAT(printedArchive(page),
                AllOf(HasSubstr("styled"), HasSubstr("frame"), HasSubstr("scripted")));
}

TEST_F(WebViewTest, PrintsArchivesOfEveryEncodingAndAddress) {
    EXPECT_THAT(
        printedArchive({{"http://a.example/", "text/html", "<p>gr\xfc\xdf", "latin1"}, {}, {}}),
        HasSubstr("gr\xc3\xbc\xc3\x9f"));
    EXPECT_THAT(printedArchive({{"http://a.example/", "text/html",
                                 std::string("<\0p\0>\0w\0i\0d\0e\0", 14), "utf-16le"},
                                {},
                                {}}),
                HasSubstr("wide"));
    EXPECT_THAT(printedArchive({{"about:blank", "text/html", "<p>nowhere", ""}, {}, {}}),
                HasSubstr("nowhere"));
    EXPECT_THAT(
        printedArchive({{"file:///gone/away.html", "text/html", "<p>on a disk", ""}, {}, {}}),
        HasSubstr("on a disk"));
    EXPECT_THAT(printedArchive({{"http://a.example/x", "text/plain", "plain", ""}, {}, {}}),
                HasSubstr("plain"));
}

TEST_F(WebViewTest, FollowsAPageThatLeadsOnAtOnceWithinItsFolder) {
    file("other.html", "<p>the other page</p>");
    for (const char* const way :
         {"<script>location = 'other.html'</script>",
          "<meta http-equiv=refresh content='0;url=other.html'>",
          "<script>addEventListener('load', () => location = 'other.html')</script>",
          "<body onload=\"document.forms[0].submit()\"><form action=other.html></form>"}) {
        EXPECT_THAT(printed(std::string(way) + "<p>this page</p>"),
                    AllOf(HasSubstr("the other page"), Not(HasSubstr("this page"))))
            << way;
    }
    EXPECT_THAT(printed("<meta http-equiv=refresh content='3;url=other.html'><p>this page</p>"),
                HasSubstr("this page"));
}

TEST_F(WebViewTest, AnArchiveOfAPlaceInAPageIsWhole) {
    const std::string style = "<style>#x:target::after{content:' that is meant'}</style>";
    const std::string text = "<p>before</p><p id=x>place</p><p>after</p>";
    EXPECT_THAT(printedArchive({{"http://a.example/p#x", "text/html", style + text, ""}, {}, {}}),
                AllOf(HasSubstr("before"), HasSubstr("place that is meant"), HasSubstr("after")));
    EXPECT_THAT(
        printedArchive({{"http://a.example/p#x", "text/html",
                         style + "<script>location='http://b.example/'</script>" + text, ""},
                        {},
                        {}}),
        AllOf(HasSubstr("before"), HasSubstr("place that is meant"), HasSubstr("after")));
}

TEST_F(WebViewTest, AnArchiveOfALocalPageShowsItsFramesFromElsewhere) {
    EXPECT_THAT(
        printedArchive({{"file:///a/b.html", "text/html",
                         "<p>page</p><iframe src=http://c.example/d></iframe>", ""},
                        {},
                        {{{"http://c.example/d", "text/html", "<p>frame</p>", ""}, {}, {}}}}),
        AllOf(HasSubstr("page"), HasSubstr("frame")));
}

TEST_F(WebViewTest, WhatIsForEnginesWithoutScriptsIsShownToThoseOnly) {
    const std::string html = "<p>text</p><noscript><b>no scripts here</b></noscript>";
    file("frame.html", "<noscript><b>nor here</b></noscript>");
    EXPECT_THAT(printed(html + "<iframe src=frame.html></iframe>"),
                AllOf(HasSubstr("text"), Not(HasSubstr("no scripts")), Not(HasSubstr("nor here"))));
    EXPECT_THAT(printed("<script>location = 'http://a.example/'</script>" + html),
                AllOf(HasSubstr("text"), HasSubstr("no scripts here"), Not(HasSubstr("<b>"))));
}

TEST_F(WebViewTest, ShowsPicturesThatAreLoadedLateElsewhere) {
    file("square.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='200' height='20'>"
                       "<text x='0' y='10'>drawn</text></svg>");
    EXPECT_THAT(printed("<p>top</p><div style='height:9000px'></div>"
                        "<img loading=lazy src=square.svg><iframe loading=lazy src=late.html>"
                        "</iframe><p>end</p>"),
                AllOf(HasSubstr("drawn"), HasSubstr("end")));
}

TEST_F(WebViewTest, AnArchiveSeesNothingOfTheDisk) {
    file("secret.html", "<p>the secret</p>");
    const std::string url = "file://" + (site / "secret.html").string();
    for (const char* const address : {"http://a.example/", "file:///a.html"}) {
        EXPECT_THAT(printedArchive({{address, "text/html",
                                     "<p>archive</p><iframe src='" + url + "'></iframe>", ""},
                                    {},
                                    {}}),
                    AllOf(HasSubstr("archive"), Not(HasSubstr("the secret"))));
    }
}

} // namespace
} // namespace quillorn::tests
