#include "tests/architecture/IncludeRules.h"
#include "tests/fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace quillorn::architecture {
namespace {

namespace fs = std::filesystem;

/// A folder of sources of its own.
class SourceFolder {
public:
    void write(const std::string& name, const std::string& text) const {
        fs::create_directories((path() / name).parent_path());
        tests::writeFile(path() / name, text);
    }
    [[nodiscard]] const fs::path& path() const { return m_folder.path(); }

private:
    tests::TemporaryFolder m_folder;
};

TEST(SourceTree, IncludesOnlyInAllowedDirections) {
    const std::vector<SourceFile> files = readSourceTree(QUILLORN_SOURCE_ROOT);
    ASSERT_NE(std::ranges::find(files, "tests/architecture/IncludeRules.cpp", &SourceFile::path),
              files.end());
    for (const Violation& violation : IncludeRules(files).check()) {
        ADD_FAILURE() << violation.text();
    }
}

TEST(SourceTree, IsReadWithoutWhatIsBuiltOrHidden) {
    const SourceFolder root;
    root.write("model/Item.h", "// item");
    root.write("model/build/Step.cpp", "// step");
    root.write("model/notes.md", "");
    root.write("build/release/Made.cpp", "");
    root.write("out/Copy.cpp", "");
    root.write(".cache/Old.cpp", "");

    const std::vector<SourceFile> files = readSourceTree(root.path());

    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].path, "model/Item.h");
    EXPECT_EQ(files[0].text, "// item");
    EXPECT_EQ(files[1].path, "model/build/Step.cpp");
}

TEST(SourceTree, ShowsAForbiddenIncludeOfAFileOnDisk) {
    const SourceFolder root;
    root.write("model/Item.h", "#include \"app/Window.h\"\n");
    root.write("app/Window.h", "#include \"model/Item.h\"\n");

    const std::vector<Violation> violations = IncludeRules(readSourceTree(root.path())).check();

    ASSERT_EQ(violations.size(), 1U);
    EXPECT_EQ(violations[0].file, "model/Item.h");
}

} // namespace
} // namespace quillorn::architecture
