#pragma once

#include <cstdint>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Makes a few pages of a large document weigh what those pages need.
///
/// Pages often share one dictionary of fonts, pictures and patterns, and so do the forms that
/// they draw. When only some pages come along, what none of them draws is left behind. Reading
/// contents for that takes time, so only dictionaries that hold heavy things are looked at, and
/// only until each heavy thing has been seen in use; from there the forms, patterns, masks and
/// drawn fonts in use are followed. Names are looked for wherever they stand: keeping too much is
/// safe. Whatever cannot be judged for certain (contents that do not decode, or decode to far
/// more than contents do) stays complete; so does everything where looking would take longer than
/// a file of `fileBytes` is worth.
///
/// `resources` holds, for each page, the dictionary that it draws with, inherited or its own; the
/// answer holds what it should draw with instead. The dictionaries themselves are not changed,
/// since pages that are not in the list may share them; those that forms of `document` name are
/// exchanged for smaller ones in the forms. Pages and forms that share one go on sharing.
[[nodiscard]] std::vector<QPDFObjectHandle>
pruneResources(QPDF& document, std::uint64_t fileBytes, const std::vector<QPDFObjectHandle>& pages,
               const std::vector<QPDFObjectHandle>& resources);

} // namespace quillorn
