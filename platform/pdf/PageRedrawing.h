#pragma once

#include "platform/pdf/PDFError.h"
#include "platform/pdf/PDFGeometry.h"

#include <filesystem>

namespace quillorn {

/// Draws every page of a PDF onto a page of this box, from the origin of its own user space, and
/// writes the result in the file's place. Only what is drawn comes along: contents and their
/// resources. Rotation, annotations, outline and everything else of the document go. The file is
/// replaced by a complete one or stays as it is.
///
/// Errors: those of opening, locked, damagedPage and cannotWrite. Any thread.
[[nodiscard]] PDFResult<void> redrawPages(const std::filesystem::path& file,
                                          const PDFBox& mediaBox);

} // namespace quillorn
