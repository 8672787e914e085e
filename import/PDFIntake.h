#pragma once

#include "import/ImportRefusal.h"
#include "platform/files/FileSnapshot.h"
#include "platform/pdf/PDFDocument.h"

#include <memory>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

namespace quillorn {

template <class T>
using ImportResult = tl::expected<T, ImportRefusal>;

/// Opens PDF files for import and decides whether their pages may be taken.
///
/// Pages are taken only from a file that is not locked and allows copying and printing. Any
/// other needs a password that opens it and grants both; the caller asks for it and opens the
/// file once more. Nothing is shown here and no list is kept: what a refusal looks like, and
/// whether a file stands in a pane already, is the caller's matter.
///
/// May be used from any thread; each document belongs to the thread that opened it.
class PDFIntake {
public:
    /// With a policy the content of small files is kept safe from rewriting (FileSnapshot.h).
    explicit PDFIntake(std::optional<SnapshotPolicy> snapshots = std::nullopt)
        : m_snapshots(std::move(snapshots)) {}

    /// Opens a file. `password` (UTF-8, as typed) is tried only when the file needs one; without
    /// it such a file is refused as encrypted. The pages have no labels yet.
    [[nodiscard]] ImportResult<std::unique_ptr<PDFDocument>>
    open(const std::string& path, const std::optional<std::string>& password = std::nullopt) const;

    /// Opens a file that is asked about rather than imported: with whatever it allows, and locked
    /// when it needs a password and none is given. A given password must open the file.
    [[nodiscard]] ImportResult<std::shared_ptr<const PDFSource>>
    inspect(const std::string& path,
            const std::optional<std::string>& password = std::nullopt) const;

private:
    std::optional<SnapshotPolicy> m_snapshots;
};

/// Titles pages as the source pane shows them: "1-report", "2-report", ... for report.pdf.
/// A converted image keeps its source's name with the extension, and its pages are called by
/// that name; not so once it was unlocked with a password, when every file is numbered.
void labelImportedPages(PDFDocument& document, const std::string& path, bool wasUnlocked);

/// What importing `path` opens: the file itself, or a folder's immediate entries (hidden ones
/// too) in the order that the file system lists them. Sub-folders among them fail as files do.
/// A folder that cannot be listed is refused.
[[nodiscard]] ImportResult<std::vector<std::string>> filesToOpen(const std::string& path);

} // namespace quillorn
