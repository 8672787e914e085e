#pragma once

#include "platform/pdf/PDFGeometry.h"

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <span>

namespace quillorn {

/// Brings the first page of a drawing into another document, as something to be drawn there.
///
/// The drawing comes from a process that a hostile image may have taken over, so it gets less trust
/// than a user's own document: it is read without any repair, nothing in it is unpacked, and no
/// more of it is read for objects than drawings need (streams are passed on as they are). One that
/// gives the library the least reason to complain is refused.
///
/// The drawing's bytes belong to the caller and stay where they are until the destination is
/// written. One thread.
class DrawnPage {
public:
    /// Throws std::runtime_error or what libqpdf throws where it is no such drawing. A
    /// DecodingScope must be open, with a budget of nothing.
    DrawnPage(QPDF& destination, std::span<const char> pdf);

    /// A form XObject of the destination.
    [[nodiscard]] QPDFObjectHandle form() const { return m_form; }
    /// The page's own, which is the form's, too.
    [[nodiscard]] const PDFBox& mediaBox() const { return m_mediaBox; }

private:
    QPDF m_source;
    QPDFObjectHandle m_form;
    PDFBox m_mediaBox;
};

} // namespace quillorn
