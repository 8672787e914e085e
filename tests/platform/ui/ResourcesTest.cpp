#include "platform/ui/Resources.h"

#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace quillorn {
namespace {

TEST(Resources, AreFoundByNameAndTypeInTheFirstFolderThatHasThem) {
    const tests::TemporaryFolder first;
    const tests::TemporaryFolder second;
    const Resources resources({first.path(), second.path()});
    EXPECT_FALSE(resources.pathForResource("Help", "pdf"));
    tests::writeFile(second / "Help.pdf", "2");
    EXPECT_EQ(resources.pathForResource("Help", "pdf"), second / "Help.pdf");
    tests::writeFile(first / "Help.pdf", "1");
    EXPECT_EQ(resources.pathForResource("Help", "pdf"), first / "Help.pdf");
}

TEST(Resources, WithoutATypeTheNameIsAll) {
    const tests::TemporaryFolder folder;
    tests::writeFile(folder / "LICENSE", "text");
    EXPECT_EQ(Resources({folder.path()}).pathForResource("LICENSE", ""), folder / "LICENSE");
}

TEST(Resources, AFolderOfThatNameIsNone) {
    const tests::TemporaryFolder folder;
    std::filesystem::create_directory(folder / "Help.pdf");
    EXPECT_FALSE(Resources({folder.path()}).pathForResource("Help", "pdf"));
}

} // namespace
} // namespace quillorn
