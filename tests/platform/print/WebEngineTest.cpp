#include "tests/fakes/Environment.h"
#include "tests/fakes/Program.h"
#include "tests/platform/print/WebFixture.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class WebEngineTest : public WebFixture {
protected:
    /// The processes of the engine that lay pages out.
    static std::vector<pid_t> renderers() {
        std::vector<pid_t> found;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            const pid_t process = std::atoi(entry.path().filename().c_str());
            std::ifstream stream(entry.path() / "cmdline");
            std::string words;
            std::getline(stream, words); // all of them: they end with null bytes
            if (process > 0 && words.find("--type=renderer") != std::string::npos &&
                ::getpgid(process) == engine().processGroup()) {
                found.push_back(process);
            }
        }
        return found;
    }
};

TEST_F(WebEngineTest, IsStartedForTheFirstPageAndKept) {
    engine().end();
    EXPECT_EQ(engine().processGroup(), 0);
    static_cast<void>(printed("one"));
    const pid_t first = engine().processGroup();
    EXPECT_GT(first, 0);
    static_cast<void>(printed("two"));
    EXPECT_EQ(engine().processGroup(), first);
}

TEST_F(WebEngineTest, ThatWasKilledMeanwhileIsReplaced) {
    static_cast<void>(printed("one"));
    const pid_t first = engine().processGroup();
    ASSERT_EQ(::kill(first, SIGKILL), 0);
    EXPECT_THAT(printed("two"), HasSubstr("two"));
    EXPECT_NE(engine().processGroup(), first);
}

/// One makes the engine prepare a page for the next, the other shows the next itself.
const std::string someScript = "<script>1</script>";
const std::string noScript;

TEST_F(WebEngineTest, APageThatWaitedAndDiedIsReplaced) {
    for (const std::string& script : {someScript, noScript}) {
        static_cast<void>(printed(script + "one"));
        ASSERT_TRUE(waitUntil([]() { return !renderers().empty(); }));
        for (const pid_t process : renderers()) {
            ::kill(process, SIGKILL);
        }
        EXPECT_THAT(printed(script + "two"), HasSubstr("two"));
        EXPECT_THAT(printed(script + "three"), HasSubstr("three"));
    }
}

TEST_F(WebEngineTest, PagesThatWaitForOtherPaperDoNotPileUp) {
    for (int i = 0; i < 16; ++i) {
        const fs::path page = file("page.html", (i < 8 ? someScript : noScript) + "<p>text");
        PrintInfo info = printInfoFor(output);
        if (i % 2 == 1) {
            info.paper = {420, 595};
        }
        auto content = FolderContent::open(page);
        ASSERT_TRUE(content);
        WebView view(engine());
        ASSERT_TRUE(view.load(std::move(*content), info));
        ASSERT_TRUE(view.print(info));
        EXPECT_THAT(allText(), HasSubstr("text"));
    }
    // The engine's own first page, one that waits of either kind, and those about to end.
    EXPECT_TRUE(waitUntil([]() { return renderers().size() <= 3; })) << renderers().size();
}

TEST_F(WebEngineTest, PagesWithoutScriptsFollowEachOtherInOneProcess) {
    engine().end();
    static_cast<void>(printed("first"));
    std::vector<pid_t> before;
    ASSERT_TRUE(waitUntil([&before]() { return (before = renderers()).size() == 2; }));
    for (const char* const text : {"second", "third", "fourth"}) {
        EXPECT_EQ(printed(text), std::string(text) + "\n");
        EXPECT_EQ(complaintsAbout(output), "");
    }
    EXPECT_EQ(renderers(), before);
    EXPECT_THAT(printed("fifth<script>document.write(' with script')</script>"),
                HasSubstr("fifth with script"));
    EXPECT_THAT(printed("sixth"), HasSubstr("sixth"));
}

TEST_F(WebEngineTest, APageWithoutScriptsSeesNothingOfTheOneBefore) {
    const auto putFiles = [this](const std::string& text) {
        file("style.css", "p::after{content:' " + text + " style'}");
        file("drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='200' height='20'>"
                            "<text x='0' y='10'>" +
                                text + " drawing</text></svg>");
    };
    const std::string address = "file://" + site.string();
    const std::string uses = "<link rel=stylesheet href='" + address + "/style.css'><img src='" +
                             address + "/drawing.svg'>";
    putFiles("old");
    EXPECT_THAT(printed(uses + "<p>one"),
                AllOf(HasSubstr("one old style"), HasSubstr("old drawing")));
    putFiles("new");
    EXPECT_THAT(printed(uses + "<p>two"),
                AllOf(HasSubstr("two new style"), HasSubstr("new drawing")));
    const auto result = print(file("elsewhere/page.html", uses + "<p>three"));
    ASSERT_TRUE(result) << result.error().reason;
    EXPECT_EQ(allText(), "three\n");
}

TEST_F(WebEngineTest, APageWithoutScriptsHasTheStylesOfOneWith) {
    file("style.css", "@media screen { p::before { content: 'screen ' } }"
                      "@page { margin: 0; size: A6 }");
    const std::string page = "<link rel=stylesheet href=style.css><p>text";
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(printed(page), "text\n");
        EXPECT_EQ(printed(page + someScript), "text\n");
    }
}

/// A page whose script is asked for and never given: the engine dies over it.
class DeadlyContent final : public WebContent {
public:
    explicit DeadlyContent(WebEngine& engine) : m_engine(engine) {}
    [[nodiscard]] const std::string& startURL() const override { return m_start; }
    [[nodiscard]] std::optional<WebResource> find(const std::string& url) const override {
        if (url != m_start) {
            ::kill(-m_engine.processGroup(), SIGKILL);
        }
        return WebResource{"<p>text</p><script src=deadly.js></script>", "text/html"};
    }

private:
    WebEngine& m_engine;
    std::string m_start = "http://deadly.example/";
};

TEST_F(WebEngineTest, ThatIsKilledMidwayFailsThatPageOnly) {
    const auto result = print(std::make_unique<DeadlyContent>(engine()));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, WebError::Kind::refused);
    EXPECT_EQ(result.error().reason, "the web engine ended while it worked on it");
    EXPECT_FALSE(fs::exists(output));
    EXPECT_THAT(printed("two"), HasSubstr("two"));
}

TEST_F(WebEngineTest, LeavesNothingBehind) {
    fs::create_directory(folders / "tmp");
    fs::permissions(folders.path(), fs::perms::all);
    fs::permissions(folders / "tmp", fs::perms::all);
    const EnvironmentVariable temporary("TMPDIR", (folders / "tmp").string());
    engine().end();
    static_cast<void>(printed("one"));
    EXPECT_EQ(namesIn(folders / "tmp").size(), 1U);
    engine().end();
    EXPECT_THAT(namesIn(folders / "tmp"), IsEmpty());
}

TEST_F(WebEngineTest, ThatIsMissingIsAReason) {
    WebEngine::Options options;
    options.programs = {};
    WebEngine none(options);
    auto content = FolderContent::open(file("page.html", "x"));
    ASSERT_TRUE(content);
    const auto result = WebView(none).load(std::move(*content), printInfoFor(output));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, WebError::Kind::noEngine);
    EXPECT_EQ(result.error().reason,
              "no web engine is installed (such as chromium-headless-shell)");
}

TEST_F(WebEngineTest, ThatDoesNotWorkIsFollowedByTheNext) {
    WebEngine::Options options;
    options.programs.insert(options.programs.begin(), {"/no/such/browser", "/bin/false"});
    WebEngine second(options);
    const auto connected = second.connect();
    ASSERT_TRUE(connected) << connected.error().reason;
    options.programs = {"/no/such/browser", "/bin/false"};
    WebEngine broken(options);
    const auto failed = broken.connect();
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().file, "/bin/false");
    EXPECT_EQ(failed.error().reason, "it ended with status 1");
}

} // namespace
} // namespace quillorn::tests
