#pragma once

#include "platform/pdf/PageLabels.h"

#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// The ranges in a catalogue's /PageLabels, ascending by first page; empty where there are none.
[[nodiscard]] std::vector<PDFPageLabelRange> readLabelRanges(QPDFObjectHandle pageLabels);

} // namespace quillorn
