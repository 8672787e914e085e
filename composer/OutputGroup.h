#pragma once

#include "platform/pdf/PDFDocument.h"

#include <memory>
#include <string>

namespace quillorn {

/// One output PDF in the making: its file name and its pages.
struct OutputGroup {
    std::string name; ///< as `checkGroupName` accepts it
    std::unique_ptr<PDFDocument> document;
};

} // namespace quillorn
