#pragma once

#include "platform/pdf/CarryContext.h"
#include "platform/pdf/FormCarrier.h"

#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Makes the copies of pages that stand in the output more than once independent, after a
/// source's pages were placed: each copy gets annotations of its own, links lead to the nearest
/// following copy of their target, and a form field that shows on every copy stays one field.
/// `outputPages` are all pages of the output.
void separateRepeatedPages(const CarryContext& context,
                           const std::vector<QPDFObjectHandle>& outputPages, FormCarrier& forms);

} // namespace quillorn
