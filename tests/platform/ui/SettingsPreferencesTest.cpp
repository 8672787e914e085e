#include "platform/ui/SettingsPreferences.h"

#include "tests/fakes/Environment.h"
#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace quillorn {
namespace {

namespace fs = std::filesystem;

class SettingsPreferencesTest : public testing::Test {
protected:
    const tests::TemporaryFolder folder;
    const fs::path file = folder / "config" / "program" / "program.conf";
};

TEST_F(SettingsPreferencesTest, AKeyThatWasNeverSetHasNoValue) {
    const SettingsPreferences preferences(file);
    EXPECT_EQ(preferences.stringForKey("SaveFilePlace"), std::nullopt);
    EXPECT_FALSE(fs::exists(folder / "config")) << "reading makes no file";
}

TEST_F(SettingsPreferencesTest, ValuesAreThereAtTheNextStart) {
    {
        SettingsPreferences preferences(file);
        ASSERT_TRUE(preferences.setStringForKey("SaveFilePlace", "/a/b c/Ausgabe \u00e4, [x]; #1"));
        ASSERT_TRUE(preferences.setStringForKey("AddFilePath", ""));
        EXPECT_EQ(preferences.stringForKey("SaveFilePlace"), "/a/b c/Ausgabe \u00e4, [x]; #1");
    }
    const SettingsPreferences preferences(file);
    EXPECT_EQ(preferences.stringForKey("SaveFilePlace"), "/a/b c/Ausgabe \u00e4, [x]; #1");
    EXPECT_EQ(preferences.stringForKey("AddFilePath"), "");
}

TEST_F(SettingsPreferencesTest, PeopleCanEditTheFile) {
    fs::create_directories(file.parent_path());
    tests::writeFile(file, "[General]\nSaveFilePlace=/home/me/PDF\n");
    const SettingsPreferences preferences(file);
    EXPECT_EQ(preferences.stringForKey("SaveFilePlace"), "/home/me/PDF");
}

TEST_F(SettingsPreferencesTest, TwoProgramsKeepEachOthersChanges) {
    SettingsPreferences one(file);
    SettingsPreferences other(file);
    ASSERT_TRUE(one.setStringForKey("SaveFilePlace", "/one"));
    ASSERT_TRUE(other.setStringForKey("AddFilePath", "/other"));
    const SettingsPreferences later(file);
    EXPECT_EQ(later.stringForKey("SaveFilePlace"), "/one");
    EXPECT_EQ(later.stringForKey("AddFilePath"), "/other");
}

TEST_F(SettingsPreferencesTest, AFileInTheWayOfItsFolderIsReported) {
    tests::writeFile(folder / "config", "not a folder");
    SettingsPreferences preferences(file);
    const auto set = preferences.setStringForKey("SaveFilePlace", "/one");
    ASSERT_FALSE(set);
    EXPECT_EQ(set.error().file, file);
    EXPECT_EQ(preferences.stringForKey("SaveFilePlace"), "/one") << "it counts in this run";
}

TEST_F(SettingsPreferencesTest, RubbishInTheFileIsNoValue) {
    fs::create_directories(file.parent_path());
    tests::writeFile(file, std::string("\0\xff\xfe[[[\n=\n", 9));
    const SettingsPreferences preferences(file);
    EXPECT_EQ(preferences.stringForKey("SaveFilePlace"), std::nullopt);
}

TEST_F(SettingsPreferencesTest, StandInTheConfigurationFolderOfTheUser) {
    const tests::EnvironmentVariable home("HOME", "/home/me");
    {
        const tests::EnvironmentVariable config("XDG_CONFIG_HOME", "/etc/mine");
        EXPECT_EQ(SettingsPreferences::defaultFile(),
                  "/etc/mine/quillorn-folivane/quillorn-folivane.conf");
    }
    for (const auto& useless : {std::optional<std::string>(), std::optional<std::string>(""),
                                std::optional<std::string>("relative/folder")}) {
        const tests::EnvironmentVariable config("XDG_CONFIG_HOME", useless);
        EXPECT_EQ(SettingsPreferences::defaultFile(),
                  "/home/me/.config/quillorn-folivane/quillorn-folivane.conf");
    }
}

} // namespace
} // namespace quillorn
