#pragma once

#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Makes a few pages of a large document weigh what those pages need.
///
/// Pages often share one dictionary of fonts and pictures. When only some of them come along,
/// what none of them draws is left behind. Reading page contents for that takes time, so only
/// dictionaries that hold heavy things are looked at, and only until each heavy thing has been
/// seen in use. Whatever cannot be judged for certain (contents that do not decode, forms that
/// borrow the page's resources) stays complete.
///
/// `resources` holds, for each page, the dictionary that it draws with, inherited or its own; the
/// answer holds what it should draw with instead. Nothing is changed in place, since pages that
/// are not in the list may share a dictionary; pages in the list that share one go on sharing.
[[nodiscard]] std::vector<QPDFObjectHandle>
pruneResources(const std::vector<QPDFObjectHandle>& pages,
               const std::vector<QPDFObjectHandle>& resources);

} // namespace quillorn
