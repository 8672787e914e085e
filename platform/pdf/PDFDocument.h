#pragma once

#include "platform/pdf/PDFError.h"
#include "platform/pdf/PDFPage.h"
#include "platform/pdf/PDFSource.h"
#include "platform/pdf/PDFWriter.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillorn {

/// An ordered list of pages. Inserting, moving, removing and turning pages are list operations
/// in memory; bytes are produced only by writing, and no source file is ever changed.
///
/// Identity is unambiguous: inserting a page that already stands in a document puts a new page
/// object there that shares the source page, so one object never stands in two places.
/// Used by one thread at a time; `pageReferences` is how pages reach a writer on another.
class PDFDocument {
public:
    static constexpr std::size_t notFound = static_cast<std::size_t>(-1);

    /// A document without pages.
    PDFDocument() = default;
    /// All pages of a source.
    explicit PDFDocument(std::shared_ptr<const PDFSource> source);
    ~PDFDocument();

    PDFDocument(const PDFDocument&) = delete;
    PDFDocument& operator=(const PDFDocument&) = delete;

    /// Opens a file. A locked one opens without pages; see `unlockWithPassword`.
    [[nodiscard]] static PDFResult<std::unique_ptr<PDFDocument>>
    open(const std::filesystem::path& path,
         const std::optional<SnapshotPolicy>& snapshots = std::nullopt);

    /// 0 and 0 for a document that was not opened from a file.
    [[nodiscard]] int majorVersion() const { return m_source ? m_source->version().major : 0; }
    [[nodiscard]] int minorVersion() const { return m_source ? m_source->version().minor : 0; }
    [[nodiscard]] bool isEncrypted() const { return m_source && m_source->isEncrypted(); }
    [[nodiscard]] bool isLocked() const { return m_source && m_source->isLocked(); }
    [[nodiscard]] bool allowsCopying() const;
    [[nodiscard]] bool allowsPrinting() const;

    /// Tries a password as typed (UTF-8). On success the document has its pages, and the
    /// permissions are those that this password grants. Pages are replaced, so this is for a
    /// document that was just opened. Errors: wrongPassword and those of opening.
    [[nodiscard]] PDFResult<void> unlockWithPassword(const std::string& password);

    [[nodiscard]] std::size_t pageCount() const { return m_slots.size(); }

    /// Null past the end. The same object at every call.
    [[nodiscard]] std::shared_ptr<PDFPage> pageAtIndex(std::size_t index) const;

    /// `notFound` when the page does not stand here.
    [[nodiscard]] std::size_t indexForPage(const PDFPage& page) const;

    /// Puts `page` before position `index` (at the end when there is none) and returns the page
    /// that now stands there: `page` itself if it belonged to no document, else a new one.
    std::shared_ptr<PDFPage> insertPageAtIndex(const std::shared_ptr<PDFPage>& page,
                                               std::size_t index);

    /// Takes out the page at `index`, which then belongs to no document; null past the end.
    std::shared_ptr<PDFPage> removePageAtIndex(std::size_t index);

    /// Moves the page at `from` so that it stands at `to` afterwards. Past the end: nothing.
    void movePage(std::size_t from, std::size_t to);

    /// The pages as values that a writer on any thread can use.
    [[nodiscard]] std::vector<PDFPageReference> pageReferences() const;

    /// Writes all pages to `path`, as `writePDF` does.
    [[nodiscard]] PDFResult<PDFWriteReport> writeToFile(const std::filesystem::path& path,
                                                        const PDFWriteOptions& options = {}) const;

    [[nodiscard]] const std::shared_ptr<const PDFSource>& source() const { return m_source; }

private:
    /// A page object is made when somebody asks for it; until then its source index will do.
    struct Slot {
        std::size_t sourceIndex = 0;
        mutable std::shared_ptr<PDFPage> page;
    };

    void takeAllPagesOf(std::shared_ptr<const PDFSource> source);

    std::shared_ptr<const PDFSource> m_source; ///< the file it was opened from, or null
    std::vector<Slot> m_slots;
};

} // namespace quillorn
