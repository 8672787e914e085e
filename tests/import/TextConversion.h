#pragma once

#include "import/RtfToPDF.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn::tests {

/// Conversions of text documents with the real engines, which all tests of a program share.
class TextConversion : public testing::Test {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
    static void TearDownTestSuite() {
        engines().office.end();
        engines().text.end();
    }
    static TextEngines& engines() {
        static TextEngines all;
        return all;
    }

    TextConversion() {
        std::filesystem::create_directory(folder / "cache");
        std::filesystem::create_directory(folder / "files");
    }
    [[nodiscard]] std::string file(const std::string& name, std::string_view content) const {
        writeFile(folder / "files" / name, content);
        return (folder / "files" / name).string();
    }
    /// The text of the PDF that a file becomes, or "refused: " with the reason.
    std::string converted(const std::string& path, bool keepPageSetup = false) {
        RtfToPDF converter(engines(), cache, keepPageSetup);
        const auto result = converter.convertRtfToPDF(path);
        if (!result) {
            return "refused: " + result.error().reason;
        }
        EXPECT_EQ(converter.tmpPath(), cache / std::filesystem::path(path).filename());
        EXPECT_EQ(complaintsAbout(converter.tmpPath()), "");
        notices = *result;
        std::string text;
        for (const std::string& page : pageTexts(converter.tmpPath())) {
            text += page;
        }
        return text;
    }
    [[nodiscard]] std::string told(const std::string& name) const {
        return Program("pdfinfo", {(cache / name).string()}).run().output;
    }

    const TemporaryFolder folder;
    const std::filesystem::path cache = folder / "cache";
    std::vector<std::string> notices;
};

} // namespace quillorn::tests
