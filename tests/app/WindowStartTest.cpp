#include "app/WindowStart.h"
#include "tests/app/ProgramFixture.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/Program.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

using Words = std::vector<std::string>;

TEST(FilesForWindow, WithoutWordsThereIsAWindowWhereThereIsADisplay) {
    EXPECT_EQ(filesForWindow({}, true), Words{});
    EXPECT_EQ(filesForWindow({}, false), std::nullopt);
}

TEST(FilesForWindow, CommandsAndOptionsAreForTheCommandLine) {
    for (const char* const word : {"compose", "info", "convert", "--help", "-h", "compse", ""}) {
        EXPECT_EQ(filesForWindow({word}, true), std::nullopt) << word;
    }
}

TEST(FilesForWindow, FilesAreOpenedByTheirAbsolutePaths) {
    const std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(filesForWindow({"a.pdf", "/b/../c.png", "missing"}, true),
              (Words{here + "/a.pdf", "/c.png", here + "/missing"}));
    EXPECT_EQ(filesForWindow({"a.pdf"}, false), std::nullopt);
}

TEST(FilesForWindow, AFolderAboveIsThatOfTheFolderThatALinkLeadsTo) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder / "far/away");
    std::filesystem::create_directory_symlink(folder / "far/away", folder / "link");
    writeFile(folder / "far/a.pdf", "");
    const auto files = filesForWindow({(folder / "link/../a.pdf").string()}, true);
    ASSERT_TRUE(files && files->size() == 1);
    EXPECT_TRUE(std::filesystem::exists(files->front())) << files->front();
    EXPECT_EQ(files->front(), (std::filesystem::canonical(folder / "far") / "a.pdf").string());
}

class WindowStartTest : public ProgramFixture {
protected:
    /// The program with a window that nobody sees, alone in its session.
    [[nodiscard]] Program windowed(Words words) const {
        return program(std::move(words))
            .with("QT_QPA_PLATFORM", "offscreen")
            .with("XDG_RUNTIME_DIR", session.string());
    }

    const std::filesystem::path session = makeSession(folders / "session");

private:
    static std::filesystem::path makeSession(const std::filesystem::path& folder) {
        std::filesystem::create_directory(folder);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
        return folder;
    }
};

TEST_F(WindowStartTest, FilesOfTheCommandLineAreOpened) {
    const RunningProgram first = windowed({pdf("a.pdf", 2)}).start();
    EXPECT_TRUE(waitUntil([&]() { return first.hasOpenFileIn(work, 1); }));
}

TEST_F(WindowStartTest, ASecondStartHandsItsFilesToTheFirst) {
    const RunningProgram first = windowed({}).start();
    EXPECT_TRUE(waitUntil([this]() {
        return std::filesystem::exists(home / "Library/Caches/Quillorn Folivane/blank.pdf");
    }));
    const ProgramResult second = windowed({pdf("a.pdf", 2)}).run();
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.errors, "");
    EXPECT_TRUE(waitUntil([&]() { return first.hasOpenFileIn(work, 1); }));
    EXPECT_TRUE(std::filesystem::exists(home / "Library/Caches/Quillorn Folivane/blank.pdf"));
}

TEST_F(WindowStartTest, AProgramThatIsStoppedIsToldOf) {
    const RunningProgram first = windowed({}).start();
    EXPECT_TRUE(waitUntil([this]() {
        return std::filesystem::exists(home / "Library/Caches/Quillorn Folivane/blank.pdf");
    }));
    first.signal(SIGSTOP);
    const ProgramResult second = windowed({pdf("a.pdf", 2)}).run();
    first.signal(SIGCONT);
    EXPECT_NE(second.status, 0);
    EXPECT_EQ(second.errors,
              "Quillorn Folivane runs already, but the running program does not answer.\n");
}

TEST_F(WindowStartTest, CommandsWorkBesideAWindow) {
    const RunningProgram first = windowed({}).start();
    const ProgramResult info = windowed({"info", "--count", pdf("a.pdf", 2)}).run();
    EXPECT_EQ(info.status, 0) << info.errors;
    EXPECT_EQ(info.output, "2\n");
}

} // namespace
} // namespace quillorn::tests
