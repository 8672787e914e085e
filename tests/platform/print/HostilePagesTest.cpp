#include "tests/platform/print/WebFixture.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stop_token>
#include <string>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// Pages that would rather do something else than be printed. Each test prints a plain page
/// afterwards: none of them may spoil the engine for the next.
class HostilePages : public WebFixture {
protected:
    HostilePages() {
        writeFile(folders / "secret.html", "<p>the secret</p>");
        writeFile(folders / "secret.js", "document.write('the secret')");
        m_limits.time = std::chrono::seconds(6);
    }
    void TearDown() override {
        EXPECT_THAT(printed("<p>all is well</p>"), HasSubstr("all is well"));
    }
    /// What is to be read of such a page, or "refused: " with the reason.
    std::string outcome(const std::string& html) {
        const auto result = print(file("page.html", html), m_limits);
        return result ? allText() : "refused: " + result.error().reason;
    }

    WebView::Limits m_limits;
};

TEST_F(HostilePages, AnEndlessLoopIsEndedAndWhatIsThereIsPrinted) {
    EXPECT_THAT(outcome("<p>before</p><script>for(;;){}</script><p>after</p>"),
                HasSubstr("before"));
}

TEST_F(HostilePages, ALoopThatStartsWhenThePageIsThereDoesNotHinderPrinting) {
    EXPECT_THAT(outcome("<p>there</p><script>addEventListener('load', () => setInterval(() => "
                        "{ for(let t = Date.now(); Date.now() < t + 500;); }, 1))</script>"),
                HasSubstr("there"));
    EXPECT_THAT(outcome("<p>there</p><script>addEventListener('beforeprint', () => { for(;;); })"
                        "</script>"),
                AnyOf(HasSubstr("there"), HasSubstr("refused: it takes")));
}

TEST_F(HostilePages, AStyleSheetThatNeverEndsIsNotWaitedForLongerThanHalfTheTime) {
    // A script that asks for pieces of the folder over and over keeps the page loading.
    file("a.js", "document.write('<script src=a.js?' + Math.random() + '></' + 'script>')");
    EXPECT_THAT(outcome("<p>before</p><script src=a.js></script>"),
                AnyOf(HasSubstr("before"), HasSubstr("refused")));
}

TEST_F(HostilePages, FilesOutsideTheFolderStaySecret) {
    fs::create_directories(site);
    fs::create_symlink(folders / "secret.html", site / "link.html");
    fs::create_symlink(folders.path(), site / "up");
    const std::string outside = "file://" + (folders / "secret.html").string();
    const std::string text = outcome(
        "<p>shown</p><iframe src=/etc/passwd></iframe><iframe src=file:///etc/passwd></iframe>"
        "<iframe src='" +
        outside +
        "'></iframe><iframe src=../secret.html></iframe>"
        "<iframe src=link.html></iframe><iframe src=up/secret.html></iframe>"
        "<object data=../secret.html></object><embed src=../secret.html>"
        "<script src=../secret.js></script><script>"
        "for (const u of ['file:///etc/passwd', '../secret.html']) {"
        "  try { const x = new XMLHttpRequest(); x.open('GET', u, false); x.send();"
        "        document.write(x.responseText) } catch (e) {}"
        "  fetch(u).then(r => r.text()).then(t => document.write(t)).catch(() => {}) }"
        "</script>");
    EXPECT_THAT(text,
                AllOf(HasSubstr("shown"), Not(HasSubstr("the secret")), Not(HasSubstr("root:"))));
}

TEST_F(HostilePages, LeadingOutOfTheFolderLeavesThePage) {
    for (const char* const way :
         {"<meta http-equiv=refresh content='0;url=file:///etc/passwd'>",
          "<meta http-equiv=refresh content='0;url=../secret.html'>",
          "<meta http-equiv=refresh content='0;url=gone.html'>",
          "<script>location = '../secret.html'</script>",
          "<script>location.replace('file:///etc/passwd')</script>",
          "<script>location = 'http://localhost/'</script>",
          "<script>addEventListener('load', () => location = '../secret.html')</script>",
          "<body onload=\"document.forms[0].submit()\"><form action=../secret.html></form>",
          "<script>setInterval(() => location = '../secret.html', 1)</script>"}) {
        EXPECT_THAT(outcome(std::string(way) + "<p>the page</p>"),
                    AllOf(HasSubstr("the page"), Not(HasSubstr("secret")), Not(HasSubstr("root:"))))
            << way;
    }
}

TEST_F(HostilePages, LeavingForAnEmptyPageLosesNothing) {
    for (const char* const way :
         {"<script>location = 'about:blank'</script>",
          "<meta http-equiv=refresh content='0;url=about:blank'>",
          "<script>addEventListener('load', () => location = 'about:blank')</script>",
          "<script>location = URL.createObjectURL(new Blob(['x'], {type: 'text/html'}))</script>",
          "<script>addEventListener('load', () => window.close())</script>",
          "<script>window.close()</script>", "<script>history.back()</script>"}) {
        EXPECT_THAT(outcome(std::string(way) + "<p>the page</p>"), HasSubstr("the page")) << way;
    }
}

TEST_F(HostilePages, ALeadToADownloadLosesNothing) {
    file("some.zip", std::string("PK\x03\x04\0\0", 6));
    for (const char* const way : {"<script>location = 'some.zip'</script>",
                                  "<meta http-equiv=refresh content='0;url=some.zip'>",
                                  "<body onload=\"location = 'some.zip'\">",
                                  "<a id=a href=some.zip></a><script>a.click()</script>"}) {
        EXPECT_THAT(outcome("<p>before</p>" + std::string(way) + "<p>after</p>"),
                    AllOf(HasSubstr("before"), HasSubstr("after")))
            << way;
    }
}

TEST_F(HostilePages, PagesThatLeadInACircleComeToAnEnd) {
    file("other.html", "<script>location = 'page.html?' + Math.random()</script><p>there</p>");
    EXPECT_THAT(outcome("<script>location = 'other.html?' + Math.random()</script><p>here</p>"),
                AnyOf(HasSubstr("here"), HasSubstr("there")));
    for (const char* const way :
         {"<meta http-equiv=refresh content=0>", "<script>location.reload()</script>",
          "<script>setInterval(() => location = 'page.html?' + Math.random(), 1)</script>",
          "<body onload='location.reload()'>"}) {
        EXPECT_THAT(outcome("<p>before</p>" + std::string(way) + "<p>after</p>"),
                    AllOf(HasSubstr("before"), HasSubstr("after")))
            << way;
    }
}

TEST_F(HostilePages, MemoryHasAnEnd) {
    EXPECT_THAT(outcome("<p>hungry</p><script>const all = []; for (;;) "
                        "all.push(new Uint8Array(64 << 20).fill(7));</script>"),
                AnyOf(HasSubstr("hungry"), HasSubstr("refused: ")));
    EXPECT_THAT(outcome("<p>hungry</p><script>let s = 'x'; const a = []; for (;;) "
                        "{ a.push({s: s + a.length, b: [a.length, s]}); }</script>"),
                AnyOf(HasSubstr("hungry"), HasSubstr("refused: ")));
}

TEST_F(HostilePages, DialogsAreDismissed) {
    EXPECT_THAT(outcome("<script>alert(1); alert(2);"
                        "document.write(confirm('?') + ' ' + prompt('?'));</script>"
                        "<body onbeforeunload='return 1'>"),
                HasSubstr("false null"));
}

TEST_F(HostilePages, WindowsAndDownloadsAreDenied) {
    file("other.html", "<p>elsewhere</p>");
    EXPECT_THAT(outcome("<p>the page</p><a id=d download=x href='data:text/plain,abc'></a>"
                        "<script>for (let i = 0; i < 20; ++i) open('other.html'); d.click();"
                        "print()</script>"),
                AllOf(HasSubstr("the page"), Not(HasSubstr("elsewhere"))));
}

TEST_F(HostilePages, APageOfTwentyMillionPixelsIsRefused) {
    EXPECT_EQ(outcome("<div style='height:20000000px'>long</div>"),
              "refused: it would be longer than 5000 pages");
    EXPECT_EQ(outcome("<style>@media print{div{height:20000000px}}</style><div>long</div>"),
              "refused: it would be longer than 5000 pages");
}

TEST_F(HostilePages, ACrashOfThePageIsARefusal) {
    EXPECT_THAT(outcome("<meta http-equiv=refresh content='0;url=chrome://crash'>"
                        "<script>location='chrome://crash'</script><p>the page</p>"),
                HasSubstr("the page"));
}

TEST_F(HostilePages, AStopRequestEndsWaitingAtOnce) {
    std::stop_source stop;
    stop.request_stop();
    const auto result =
        print(file("page.html", "<script>for(;;){}</script>"), {}, stop.get_token());
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, WebError::Kind::cancelled);
    EXPECT_FALSE(fs::exists(output));
}

} // namespace
} // namespace quillorn::tests
