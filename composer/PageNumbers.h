#pragma once

#include "platform/pdf/PDFError.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace quillorn {

// Page numbers on outputs. No command uses them: a save writes pages as they are.

/// The colour space that the label's colours are in, by its name in a PDF: the device's RGB.
[[nodiscard]] std::string_view getTheRGBColorSpace();

/// Adds the label "Page 7" to `context`, the operators of a page's content: a white field of
/// 54 x 18 points at (20, 20), and on it, at (25, 25), the text in black. `/Times-Roman` must be
/// a font of the page's resources, in Mac Roman encoding.
void drawQuartzRomanText(std::string& context, int number);

/// Draws the pages of the PDF at `path` anew, all onto the media box of the second page, or of
/// the only one, and without a label. The file is replaced. A document without pages stays as it
/// is.
[[nodiscard]] PDFResult<void> drawPageNumber(const std::filesystem::path& path);

} // namespace quillorn
