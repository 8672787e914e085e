#pragma once

#include "platform/print/FolderContent.h"
#include "platform/print/WebArchive.h"
#include "platform/print/WebView.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>

namespace quillorn::tests {

/// A4 with the margins of a printed page.
inline PrintInfo printInfoFor(std::filesystem::path file) {
    PrintInfo info;
    info.savePath = std::move(file);
    info.paper = {595, 842};
    info.topMargin = info.bottomMargin = 50;
    info.leftMargin = info.rightMargin = 25;
    return info;
}

/// Prints pages that lie in a folder of their own. One engine serves all tests of the program.
class WebFixture : public testing::Test {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
    static void TearDownTestSuite() { engine().end(); }
    static WebEngine& engine() {
        static WebEngine one;
        return one;
    }

    [[nodiscard]] WebResult<void> print(const std::filesystem::path& page,
                                        WebView::Limits limits = {},
                                        const std::stop_token& stop = {}) {
        auto content = FolderContent::open(page);
        EXPECT_TRUE(content) << content.error().reason;
        return content ? print(std::move(*content), limits, stop) : WebResult<void>();
    }
    [[nodiscard]] WebResult<void> print(std::unique_ptr<WebContent> content,
                                        WebView::Limits limits = {},
                                        const std::stop_token& stop = {}) {
        const PrintInfo info = printInfoFor(output);
        WebView view(engine(), limits);
        auto loaded = view.load(std::move(content), info, stop);
        return loaded ? view.print(info) : loaded;
    }
    /// The file in the page's folder, as "page.html" unless named.
    std::filesystem::path file(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories((site / name).parent_path());
        writeFile(site / name, text);
        return site / name;
    }
    /// Prints a page of this text, which must succeed, and returns what is to be read on paper.
    std::string printed(const std::string& html) {
        const auto result = print(file("page.html", html));
        EXPECT_TRUE(result) << result.error().reason;
        return result ? allText() : std::string();
    }
    [[nodiscard]] std::string allText() const {
        std::string text;
        for (const std::string& page : pageTexts(output)) {
            text += page + "\n";
        }
        return text;
    }

    const TemporaryFolder folders;
    const std::filesystem::path site = folders / "site";
    const std::filesystem::path output = folders / "output.pdf";
};

} // namespace quillorn::tests
