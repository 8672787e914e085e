#include "TemporaryFolder.h"

#include "Environment.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>

TEST(TemporaryFolder, GoesWithAllItHolds) {
    std::string path;
    {
        const TemporaryFolder folder;
        path = folder.path();
        EXPECT_EQ(ReadFile(folder.write("a/b", "text")), "text");
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TemporaryFolder, CannotBeMadeWhereNoFolderCanBe) {
    Environment environment;
    environment.set("TMPDIR", "/proc");
    try {
        const TemporaryFolder folder;
        FAIL() << "it was made: " << folder.path();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()).find("cannot make a folder like /proc/support_"), 0U)
            << error.what();
    }
}

TEST(TemporaryFolder, FilesThatCannotBeWrittenAreNotPassedOver) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "folder");
    EXPECT_THROW(folder.write("folder", "x"), std::runtime_error);
}
