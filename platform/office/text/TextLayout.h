#pragma once

#include "platform/office/ConversionProtocol.h"

#include <filesystem>
#include <string_view>

namespace quillorn::text {

/// Lays plain text out on the paper and within the margins that the job states, in a face of even
/// width and in a size at which eighty columns fit between the margins, and writes it as a PDF.
/// Lines that are longer go on in the next one, between words where there are some. A form
/// feed begins a page. Works line by line, so that it takes little more memory than the text.
///
/// Needs a QGuiApplication. `text` is as decodedText() gives it. Returns whether it was written.
[[nodiscard]] bool writeTextPDF(std::u16string_view text, const conversion::JobHeader& job,
                                const std::filesystem::path& pdf);

} // namespace quillorn::text
