#pragma once

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Builds a balanced page tree over `pages` (indirect page objects of `document`, each standing
/// once), sets their /Parent, and returns the root node. Balanced, so that a reader finds any of
/// many pages in a few steps.
[[nodiscard]] QPDFObjectHandle buildPageTree(QPDF& document,
                                             const std::vector<QPDFObjectHandle>& pages);

} // namespace quillorn
