#pragma once

#include "platform/pdf/CarryNotes.h"
#include "platform/pdf/ObjectCopier.h"
#include "platform/pdf/SourcePages.h"

#include <cstdint>
#include <filesystem>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>

namespace quillorn {

/// One source during its turn in a write: what the carriers of links, outlines, forms and so on
/// work on. The source's document belongs to the write and may be changed; where it is the
/// output document itself there is nothing to copy.
struct CarryContext {
    const std::filesystem::path& file; ///< the source, for notes
    std::uint64_t fileBytes;           ///< its size
    QPDF& source;
    QPDF& output;
    const SourcePages& pages;
    ObjectCopier* copier; ///< null when `source` is `output`
    CarryNotes& notes;
    bool onlySource; ///< all pages of the output come from this source

    /// The output is this document with its pages in some order: all that it says about them
    /// and about itself still holds.
    [[nodiscard]] bool isWholeDocument() const { return onlySource && pages.isPermutation(); }

    /// A value of the source as it stands in the output.
    [[nodiscard]] QPDFObjectHandle carried(const QPDFObjectHandle& value) const {
        return copier == nullptr ? value : copier->copy(value);
    }

    /// Whether an object of the source has come along already, with the pages or otherwise.
    [[nodiscard]] bool isInUse(const QPDFObjectHandle& object) const {
        return copier == nullptr || copier->hasCopied(object.getObjGen());
    }
};

} // namespace quillorn
