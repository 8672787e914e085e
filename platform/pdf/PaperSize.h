#pragma once

#include "platform/pdf/PDFGeometry.h"

namespace quillorn {

/// The paper of the user's locale (the environment's LC_PAPER), in whole points; A4 where the
/// locale names none. Blank pages have this size.
[[nodiscard]] PDFSize defaultPaperSize();

/// Paper of so many millimetres, in whole points. Locales round to whole millimetres, so the
/// papers that are made in inches are recognised and come out as their inches.
[[nodiscard]] PDFSize paperSizeOfMillimetres(int width, int height);

} // namespace quillorn
