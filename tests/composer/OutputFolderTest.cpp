#include "composer/OutputFolder.h"

#include "tests/fakes/ScriptedPreferences.h"
#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace quillorn {
namespace {

namespace fs = std::filesystem;

class OutputFolderTest : public testing::Test {
protected:
    const tests::TemporaryFolder home;
    tests::ScriptedPreferences preferences;
};

TEST_F(OutputFolderTest, WithoutAPreferenceItIsTheProgramsFolderAmongTheMovies) {
    preferences.answer("SaveFilePlace", std::nullopt);
    const std::string folder = InitAppPath(preferences, home.path().string());
    EXPECT_EQ(folder, (home / "Movies/Quillorn Folivane").string());
    EXPECT_TRUE(fs::is_directory(folder)) << "it exists from then on";
}

TEST_F(OutputFolderTest, ThePreferredFolderIsTaken) {
    fs::create_directory(home / "PDF");
    preferences.answer("SaveFilePlace", (home / "PDF").string());
    EXPECT_EQ(InitAppPath(preferences, home.path().string()), (home / "PDF").string());
    EXPECT_FALSE(fs::exists(home / "Movies")) << "nothing else is made";
}

TEST_F(OutputFolderTest, APreferredFolderThatWasDeletedIsMadeAgain) {
    preferences.answer("SaveFilePlace", (home / "a/b/PDF").string());
    EXPECT_EQ(InitAppPath(preferences, home.path().string()), (home / "a/b/PDF").string());
    EXPECT_TRUE(fs::is_directory(home / "a/b/PDF"));
}

TEST_F(OutputFolderTest, WhereItCannotBeMadeTheMoviesAreTakenAsTheyAre) {
    tests::writeFile(home / "file", "in the way");
    preferences.answer("SaveFilePlace", (home / "file/PDF").string());
    EXPECT_EQ(InitAppPath(preferences, home.path().string()), (home / "Movies").string());
    EXPECT_FALSE(fs::exists(home / "Movies")) << "the fallback is not made";
}

TEST_F(OutputFolderTest, AFileInTheWayOfTheMoviesIsLeftAlone) {
    tests::writeFile(home / "Movies", "a file");
    preferences.answer("SaveFilePlace", std::nullopt);
    EXPECT_EQ(InitAppPath(preferences, home.path().string()), (home / "Movies").string());
    EXPECT_EQ(tests::readFile(home / "Movies"), "a file");
}

TEST_F(OutputFolderTest, AnEmptyPreferenceFallsBackToTheMovies) {
    preferences.answer("SaveFilePlace", "");
    EXPECT_EQ(InitAppPath(preferences, home.path().string()), (home / "Movies").string());
}

} // namespace
} // namespace quillorn
