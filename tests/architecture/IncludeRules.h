#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quillorn::architecture {

/// A source file: its path from the root of the repository, and its text.
struct SourceFile {
    std::string path;
    std::string text;
};

/// One include that must not be there.
struct Violation {
    std::string file;
    int line = 0; ///< counted from 1
    std::string include;
    std::string reason;

    /// "file:line: include: reason", as a compiler would say it.
    [[nodiscard]] std::string text() const;
};

/// The directions in which folders may include each other, and the folders in
/// which third-party headers may appear.
///
/// Each file belongs to one unit: a top folder, or one of the few folders below
/// that have rules of their own (platform/pdf, tests/support, benchmarks/support).
/// An include is resolved as the compiler does it, first beside the including
/// file, then from the root; one that is found in neither place is taken for
/// every file it could mean under another include root, so that a target's private
/// include folder opens no way around the rules.
class IncludeRules {
public:
    /// All sources that includes can lead to and that check() looks at.
    explicit IncludeRules(std::vector<SourceFile> files);

    /// Everything that is forbidden, in the order of the files given. A source in
    /// a folder without a rule is reported too: new folders need a decision.
    [[nodiscard]] std::vector<Violation> check() const;

private:
    [[nodiscard]] std::vector<std::string> targetsOf(const std::string& includer,
                                                     const std::string& path, bool quoted) const;
    [[nodiscard]] bool isKnown(const std::string& path) const;
    void checkFile(const SourceFile& file, std::vector<Violation>& violations) const;

    std::vector<SourceFile> m_files;
    std::vector<std::string> m_paths; ///< of m_files, sorted
};

/// Reads every C++ source under the root, except in build, out and hidden folders.
/// Sorted by path. Throws std::filesystem::filesystem_error and std::runtime_error
/// when something cannot be read.
std::vector<SourceFile> readSourceTree(const std::filesystem::path& root);

} // namespace quillorn::architecture
