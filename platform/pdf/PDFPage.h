#pragma once

#include "platform/pdf/PDFError.h"
#include "platform/pdf/PDFGeometry.h"
#include "platform/pdf/PDFSource.h"

#include <cstddef>
#include <memory>
#include <string>

namespace quillorn {

class PDFDocument;

/// What the writer needs to know of a page: a value that may be handed to another thread.
struct PDFPageReference {
    std::shared_ptr<const PDFSource> source; ///< null for a blank page
    std::size_t index = 0;                   ///< position in the source, from 0
    int addedRotation = 0;                   ///< degrees clockwise, on top of the page's own
    PDFSize blankSize;                       ///< points; size of a page without a source
};

/// A page with a label: a place in a source file, and how it is turned.
///
/// Pages are cheap; nothing of the page object is read until its geometry is asked for. A page
/// belongs to at most one document, whose position list decides where it stands. The rotation is
/// kept as it was set, beyond 0 to 359 too, and only brought into that range when written.
/// Used by one thread at a time.
class PDFPage {
public:
    /// A blank page of the default paper that belongs to no document.
    PDFPage();
    explicit PDFPage(PDFPageReference reference) : m_reference(std::move(reference)) {}

    PDFPage(const PDFPage&) = delete;
    PDFPage& operator=(const PDFPage&) = delete;

    [[nodiscard]] const std::string& label() const { return m_label; }
    void setLabel(std::string label) { m_label = std::move(label); }

    /// Degrees clockwise: the page's own rotation plus what was added. Reads the page.
    [[nodiscard]] int rotation() const;
    void setRotation(int degrees);
    [[nodiscard]] int addedRotation() const { return m_reference.addedRotation; }
    void addRotation(int degrees) { m_reference.addedRotation += degrees; }

    /// Boxes as in the source; `rotation` is this page's. Reads the page.
    [[nodiscard]] PDFResult<PDFPageGeometry> geometry() const;

    [[nodiscard]] const PDFPageReference& reference() const { return m_reference; }

    /// The document that the page stands in, or null.
    [[nodiscard]] const PDFDocument* document() const { return m_document; }

private:
    friend class PDFDocument;

    [[nodiscard]] int sourceRotation() const;

    PDFPageReference m_reference;
    std::string m_label;
    const PDFDocument* m_document = nullptr;
};

} // namespace quillorn
