#include "tests/app/ProgramFixture.h"

#include "tests/fakes/TestImage.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

/// What a run of the program loads and starts, as the dynamic linker tells it: a file for each
/// process, which names its program and every library that was mapped into it, whenever that was.
class StartTest : public ProgramFixture {
protected:
    struct Started {
        std::vector<std::string> programs;
        std::set<std::string> libraries;
    };

    Started startedBy(std::vector<std::string> words) const {
        std::filesystem::create_directory(told);
        const ProgramResult result = program(std::move(words))
                                         .with("LD_DEBUG", "files")
                                         .with("LD_DEBUG_OUTPUT", (told / "process").string())
                                         .run();
        EXPECT_EQ(result.status, 0) << result.errors;
        Started started;
        for (const std::string& name : namesIn(told)) {
            readWhatIsTold(readFile(told / name), started);
        }
        return started;
    }

    static bool hasLibrary(const Started& started, const std::string& part) {
        for (const std::string& library : started.libraries) {
            if (library.find(part) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    const std::filesystem::path told = folders / "told";

private:
    static void readWhatIsTold(const std::string& text, Started& started) {
        // "1234: calling init: /lib/libm.so.6", "1234: initialize program: ./quillorn-folivane"
        const auto rest = [&text](std::size_t at, const std::string& mark) {
            const std::size_t from = at + mark.size();
            return text.substr(from, text.find('\n', from) - from);
        };
        const std::string initialised = "initialize program: ";
        const std::string called = "calling init: ";
        for (std::size_t at = text.find(initialised); at != std::string::npos;
             at = text.find(initialised, at + 1)) {
            started.programs.push_back(
                std::filesystem::path(rest(at, initialised)).filename().string());
        }
        for (std::size_t at = text.find(called); at != std::string::npos;
             at = text.find(called, at + 1)) {
            started.libraries.insert(std::filesystem::path(rest(at, called)).filename().string());
        }
    }
};

/// What only some documents need.
const std::vector<std::string> engines = {
    "libQt6",  "libMagick",  "libpoppler",  "libplist", "libuno",        "libsal", "libicu",
    "libtiff", "libdeflate", "libuchardet", "libcairo", "libfontconfig", "libX11", "quillorn-"};

TEST_F(StartTest, ComposingPDFsStartsNothingAndLoadsNoEngine) {
    const Started started = startedBy({"compose", "--output-folder", ".", "--group", "out.pdf",
                                       pdf("a.pdf", 3), pdf("b.pdf", 2)});
    EXPECT_EQ(started.programs, std::vector<std::string>{"quillorn-folivane"});
    EXPECT_TRUE(hasLibrary(started, "libqpdf")); // or nothing is told at all
    for (const std::string& engine : engines) {
        EXPECT_FALSE(hasLibrary(started, engine)) << engine;
    }
}

TEST_F(StartTest, ConvertingAPhotographStartsNothingAndLoadsNoEngine) {
    writeFile(work / "a.jpg", jpegBytes(testPicture(64, 48)));
    const Started started = startedBy({"convert", "--output-folder", ".", "a.jpg"});
    EXPECT_EQ(started.programs, std::vector<std::string>{"quillorn-folivane"});
    for (const std::string& engine : engines) {
        EXPECT_FALSE(hasLibrary(started, engine)) << engine;
    }
}

TEST_F(StartTest, AnImageThatHasToBeDecodedStartsItsWorkerOnly) {
    writeFile(work / "a.png", TestPNG(testPicture(64, 48)).bytes());
    convertImage(work / "a.png", work / "a.gif");
    const Started started = startedBy({"convert", "--output-folder", ".", "a.gif"});
    EXPECT_EQ(std::set<std::string>(started.programs.begin(), started.programs.end()),
              (std::set<std::string>{"quillorn-folivane", "quillorn-image-worker"}));
    EXPECT_TRUE(hasLibrary(started, "libQt6Gui"));
    EXPECT_FALSE(hasLibrary(started, "libuno"));
}

} // namespace
} // namespace quillorn::tests
