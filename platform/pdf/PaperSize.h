#pragma once

#include "platform/pdf/PDFGeometry.h"

namespace quillorn {

/// The paper of the user's locale (the environment's LC_PAPER), in whole points; A4 where the
/// locale names none. Blank pages have this size.
[[nodiscard]] PDFSize defaultPaperSize();

} // namespace quillorn
