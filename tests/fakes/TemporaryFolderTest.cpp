#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <string>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TemporaryFolder, IsEmptyAndAnotherEachTime) {
    const TemporaryFolder one;
    const TemporaryFolder two;
    EXPECT_NE(one.path(), two.path());
    EXPECT_THAT(one.names(), IsEmpty());
}

TEST(TemporaryFolder, GoesWithAllItHolds) {
    std::filesystem::path path;
    {
        const TemporaryFolder folder;
        path = folder.path();
        std::filesystem::create_directory(folder / "b");
        writeFile(folder / "b/inner", "x");
        writeFile(folder / ".a", "");
        EXPECT_THAT(folder.names(), ElementsAre(".a", "b"));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(TemporaryFolder, CannotBeMadeInAMissingFolder) {
    const TemporaryFolder folder;
    std::optional<TemporaryFolder> made;
    EXPECT_THROW(made.emplace(folder / "missing"), std::runtime_error);
    EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(TemporaryFolder, FilesThatCannotBeWrittenOrReadAreNotPassedOver) {
    const TemporaryFolder folder;
    EXPECT_THROW(writeFile(folder / "missing/file", "x"), std::runtime_error);
    EXPECT_THROW(static_cast<void>(readFile(folder / "missing")), std::runtime_error);
    writeFile(folder / "file", std::string("a\0b", 3));
    EXPECT_EQ(readFile(folder / "file"), std::string("a\0b", 3));
}

} // namespace
} // namespace quillorn::tests
