#pragma once

#include <cstddef>
#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace quillorn::corpus {

/// A password that the manifest knows for a document, in UTF-8 as a person would type it.
struct KnownPassword {
    enum class Kind { user, owner, either };

    Kind kind = Kind::user;
    std::string text;
    bool operator==(const KnownPassword&) const = default;
};

/// One row of a manifest.
struct Document {
    std::filesystem::path file;           ///< absolute
    std::string name;                     ///< path inside the corpus, "pdf/sizes.pdf"
    std::string kind;                     ///< its folder, "pdf"
    std::vector<KnownPassword> passwords; ///< without the empty one
};

/// "pdf/sizes.pdf" for a failure message.
std::ostream& operator<<(std::ostream& out, const Document& document);

/// The name of a document's tests: the file name with everything that GoogleTest does not allow
/// replaced by an underscore.
[[nodiscard]] std::string testName(const Document& document);

/// Reads the manifest's password column: "user: X ; owner: Y", "user or owner: Z", where a
/// value is literal, (empty), or a JSON string after "json:".
[[nodiscard]] std::vector<KnownPassword> readPasswords(const std::string& column);

/// Real documents to test with, as a MANIFEST.tsv lists them. The first column is the path, the
/// one called "password" the passwords.
///
/// The environment variable QUILLORN_CORPUS names the folder of the full corpus. Without it the
/// selection that this repository carries is used, and `notRun` tells what is missing.
class Corpus {
public:
    /// The corpus to test with. A folder without a readable manifest has no documents and a
    /// `problem`.
    [[nodiscard]] static const Corpus& get();

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }
    [[nodiscard]] const std::string& problem() const { return m_problem; }
    [[nodiscard]] bool isSelection() const { return m_isSelection; }

    /// The documents in one of the corpus's folders, in the manifest's order.
    [[nodiscard]] std::vector<Document> documents(const std::string& kind) const;

    /// Paths of the full corpus that a selection lacks; empty for the full corpus.
    [[nodiscard]] const std::vector<std::string>& notRun() const { return m_notRun; }

    /// "52 PDF files ..." : one line that says what is tested and what is not.
    [[nodiscard]] std::string summary() const;

    /// The corpus in `folder`. `missingList` lists (one path at the start of each line after the
    /// heading) what the full corpus holds besides; empty when `folder` is the full corpus.
    Corpus(std::filesystem::path folder, const std::filesystem::path& missingList);

private:
    void readManifest();

    std::filesystem::path m_folder;
    std::string m_problem;
    bool m_isSelection = false;
    std::vector<Document> m_documents;
    std::vector<std::string> m_notRun;
};

} // namespace quillorn::corpus
