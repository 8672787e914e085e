#include "tests/fakes/TestServer.h"
#include "tests/platform/print/WebFixture.h"

#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace quillorn::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class RemoteResources : public WebFixture {
protected:
    static void TearDownTestSuite() {
        networked().end();
        WebFixture::TearDownTestSuite();
    }
    static WebEngine& networked() {
        static WebEngine one = [] {
            WebEngine::Options options;
            options.network = true;
            return WebEngine(options);
        }();
        return one;
    }
    std::string printedWithNetwork(const std::string& html, WebView::Limits limits = {}) {
        auto content = FolderContent::open(file("page.html", html));
        EXPECT_TRUE(content);
        const PrintInfo info = printInfoFor(output);
        WebView view(networked(), limits);
        auto result = view.load(std::move(*content), info);
        result = result ? view.print(info) : result;
        EXPECT_TRUE(result) << result.error().reason;
        return result ? allText() : std::string();
    }
    static std::string pageWith(const TestServer& server) {
        return "<link rel=stylesheet href='" + server.url() + "/a.css'><p id=a>page</p><img src='" +
               server.url() + "/a.png'><iframe src='" + server.url() +
               "/frame.html'></iframe><script>fetch('" + server.url() +
               "/x').catch(() => {}); new WebSocket('ws" + server.url().substr(4) +
               "/')</script><link rel=preconnect href='" + server.url() +
               "'><link rel=dns-prefetch href='" + server.url() + "'>";
    }
};

TEST_F(RemoteResources, AreNeverAskedForUnlessWanted) {
    const TestServer server([](const std::string&) {
        return TestServer::page("text/css", "#a::after{content:'from afar'}");
    });
    EXPECT_THAT(printed(pageWith(server)), AllOf(HasSubstr("page"), Not(HasSubstr("from afar"))));
    EXPECT_EQ(server.visitors(), 0);
}

TEST_F(RemoteResources, AreFetchedWhenWanted) {
    const TestServer server([](const std::string& request) {
        return request.starts_with("GET /a.js")
                   ? TestServer::page("text/javascript", "document.write('scripted from afar')")
                   : TestServer::page("text/css", "#a::after{content:' styled from afar'}");
    });
    EXPECT_THAT(
        printedWithNetwork("<script src='" + server.url() + "/a.js'></script>" + pageWith(server)),
        AllOf(HasSubstr("page styled from afar"), HasSubstr("scripted from afar")));
}

TEST_F(RemoteResources, ThatNeverAnswerAreLeftOutAndThePageIsWhole) {
    const TestServer server([](const std::string&) { return std::string(); });
    EXPECT_THAT(printedWithNetwork("<p>before</p><script src='" + server.url() +
                                   "/a.js'></script><p>after</p>" + pageWith(server)),
                AllOf(HasSubstr("before"), HasSubstr("after"), HasSubstr("page")));
    EXPECT_GT(server.visitors(), 0);
}

TEST_F(RemoteResources, FramesFromOtherMachinesAreOnPaper) {
    const TestServer server([](const std::string& request) {
        return request.starts_with("GET /frame.html")
                   ? TestServer::page("text/html",
                                      "<link rel=stylesheet href=a.css><p id=a>frame</p><script>"
                                      "document.write('<p>written by \"it\" &amp; co</p>')"
                                      "</script><iframe src=inner.html></iframe>")
               : request.starts_with("GET /inner.html")
                   ? TestServer::page("text/html", "<p>the innermost</p>")
                   : TestServer::page("text/css", "#a::after{content:' with style'}");
    });
    file("local.html", "<p>local</p><iframe src='" + server.url() + "/frame.html'></iframe>");
    const std::string text = printedWithNetwork("<p>page</p><iframe src='" + server.url() +
                                                "/frame.html?2' style='height:300px'></iframe>"
                                                "<iframe src=local.html style='height:500px'>"
                                                "</iframe><p>end</p>");
    EXPECT_THAT(text, AllOf(HasSubstr("frame with style"), HasSubstr("written by \"it\" & co"),
                            HasSubstr("the innermost"), HasSubstr("page"), HasSubstr("local"),
                            HasSubstr("end")));
}

TEST_F(RemoteResources, FramesFromOtherMachinesSeeNothingOfTheDisk) {
    file("near.html", "<p>the neighbour</p>");
    file("near.css", "#a::after{content:' with the neighbour'}");
    const std::string near = "file://" + (site / "near").string();
    const TestServer server([&](const std::string&) {
        return TestServer::page("text/html", "<link rel=stylesheet href='" + near +
                                                 ".css'><p id=a>frame</p><iframe src='" + near +
                                                 ".html'></iframe><object data='" + near +
                                                 ".html'></object>");
    });
    EXPECT_THAT(printedWithNetwork("<iframe src='" + server.url() + "/frame.html'></iframe>"),
                AllOf(HasSubstr("frame"), Not(HasSubstr("the neighbour"))));
}

TEST_F(RemoteResources, ThatNeverComeToAnEndAreGivenUpAndThePageIsWhole) {
    const TestServer server(
        [](const std::string&) {
            return std::string("HTTP/1.1 200 OK\r\nContent-Type: text/javascript\r\n\r\n//");
        },
        true);
    WebView::Limits limits;
    limits.time = std::chrono::seconds(9);
    EXPECT_THAT(printedWithNetwork("<p>before</p><script src='" + server.url() +
                                       "/a.js'></script><p>after</p>",
                                   limits),
                AllOf(HasSubstr("before"), HasSubstr("after")));
    EXPECT_GT(server.visitors(), 0);
}

TEST_F(RemoteResources, DoNotLetAPageSeeMoreOfTheDisk) {
    writeFile(folders / "secret.html", "<p>the secret</p>");
    EXPECT_THAT(printedWithNetwork("<p>page</p><iframe src=../secret.html></iframe>"
                                   "<iframe src=file:///etc/passwd></iframe>"),
                AllOf(HasSubstr("page"), Not(HasSubstr("the secret")), Not(HasSubstr("root:"))));
}

} // namespace
} // namespace quillorn::tests
