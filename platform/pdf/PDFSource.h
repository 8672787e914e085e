#pragma once

#include "platform/files/FileSnapshot.h"
#include "platform/pdf/PDFError.h"
#include "platform/pdf/PDFGeometry.h"
#include "platform/pdf/PDFVersion.h"
#include "platform/pdf/PageLabels.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quillorn {

struct PDFReader;
struct PDFReaderInput;

/// What an encrypted file allows whoever opened it; everything when it is not encrypted or was
/// opened with the owner's password.
struct PDFPermissions {
    bool copying = true;  ///< text and graphics may be taken out
    bool printing = true; ///< at least at low resolution
    bool printingHighRes = true;
    bool accessibility = true;
    bool assembly = true;
    bool formFilling = true;
    bool annotating = true;
    bool modifying = true;
    bool operator==(const PDFPermissions&) const = default;
};

/// What another process needs to read the same bytes.
struct PDFSourceAccess {
    std::shared_ptr<const FileDescriptor> descriptor; ///< for positioned reading only
    std::uint64_t size = 0;                           ///< bytes
    std::string password;                             ///< as it opens the file; empty for none
};

/// One opened PDF file, immutable and shared by all pages taken from it.
///
/// It holds the file open, so that renaming, deleting or replacing the file on disk changes
/// nothing; a rewrite in place is either kept out by a snapshot (FileSnapshot.h) or noticed by
/// `verifyUnchanged`. Opening reads the cross-reference table and, of a long document, just the
/// number of pages that it states; page tree, boxes, rotations and labels are read when asked for.
/// Where the table need not be read for that, it waits until then, too.
///
/// All functions may be called from any thread; calls that read the file take turns.
class PDFSource : public std::enable_shared_from_this<PDFSource> {
public:
    /// Errors: unreadable, notPDF, tooLarge. A file that needs a password opens as locked:
    /// everything but its version, size and `unlocked` is then empty.
    [[nodiscard]] static PDFResult<std::shared_ptr<const PDFSource>>
    open(const std::filesystem::path& path,
         const std::optional<SnapshotPolicy>& snapshots = std::nullopt);

    /// The same file opened with a password as a person typed it (UTF-8). Errors: wrongPassword
    /// and those of `open`.
    [[nodiscard]] PDFResult<std::shared_ptr<const PDFSource>>
    unlocked(const std::string& password) const;

    PDFSource(const PDFSource&) = delete;
    PDFSource& operator=(const PDFSource&) = delete;
    ~PDFSource();

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }
    [[nodiscard]] std::uint64_t fileSize() const { return m_file->stamp.size; } ///< bytes
    [[nodiscard]] PDFVersion version() const { return m_facts.version; }
    [[nodiscard]] bool isEncrypted() const { return m_facts.encrypted; }
    [[nodiscard]] bool isLocked() const { return m_facts.locked; }
    [[nodiscard]] bool ownerPasswordMatched() const { return m_facts.ownerPasswordMatched; }
    [[nodiscard]] const PDFPermissions& permissions() const { return m_facts.permissions; }
    [[nodiscard]] std::size_t pageCount() const { return m_facts.pageCount; }

    /// This source when the pages really are as many as the file states, else one that knows
    /// better. Looks at the page tree, so not for the thread of a window. Errors: changed,
    /// notPDF, tooLarge.
    [[nodiscard]] PDFResult<std::shared_ptr<const PDFSource>> withCountedPages() const;

    /// What libqpdf complained of while opening; the file was usable all the same.
    [[nodiscard]] const std::vector<std::string>& warnings() const { return m_facts.warnings; }

    /// Boxes and rotation of page `index`. Errors: damagedPage, changed.
    [[nodiscard]] PDFResult<PDFPageGeometry> geometry(std::size_t index) const;

    /// The logical page numbers; empty when the file has none.
    [[nodiscard]] PDFResult<std::vector<PDFPageLabelRange>> labelRanges() const;

    /// Whether the bytes are still those that were opened. Errors: changed, unreadable.
    [[nodiscard]] PDFResult<void> verifyUnchanged() const;

    /// For whoever draws the pages elsewhere.
    [[nodiscard]] PDFSourceAccess access() const;

    /// For the writer: a reader of this file that belongs to the caller's thread. The idle one
    /// that served this object is handed over if there is one; it is made again when needed.
    /// Its pages are found and are as many as this source says. Errors: changed, damagedPage.
    [[nodiscard]] PDFResult<std::unique_ptr<PDFReader>> takeReader() const;

    /// Lets go of the memory that reading took; the next question reads again.
    void releaseReader() const;

private:
    struct Facts {
        PDFVersion version;
        bool encrypted = false;
        bool locked = false;
        bool ownerPasswordMatched = false;
        PDFPermissions permissions;
        std::size_t pageCount = 0;
        std::vector<std::string> warnings;
    };
    /// The open file, shared by a locked source and the unlocked ones made from it.
    struct SharedFile {
        std::shared_ptr<const FileDescriptor> descriptor;
        FileStamp stamp;
    };

    PDFSource(std::filesystem::path path, std::shared_ptr<const SharedFile> file,
              std::string password);

    [[nodiscard]] static PDFResult<std::shared_ptr<const PDFSource>>
    openShared(const std::filesystem::path& path, std::shared_ptr<const SharedFile> file,
               const std::string& password);
    [[nodiscard]] PDFReaderInput readerInput() const;
    /// Runs `question` on the reader under the lock, opening it first if need be.
    template <class Answer, class Question>
    [[nodiscard]] PDFResult<Answer> ask(PDFError::Kind kind, Question&& question) const;

    std::filesystem::path m_path;
    std::shared_ptr<const SharedFile> m_file;
    std::string m_password;
    Facts m_facts;

    mutable std::mutex m_mutex; ///< guards m_reader
    mutable std::unique_ptr<PDFReader> m_reader;
};

} // namespace quillorn
