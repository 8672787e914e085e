#pragma once

#include "platform/office/ConversionProtocol.h"

#include <string_view>

namespace quillorn::text {

enum class TextPDF { written, notWritten, tooLong };

/// A text of more pages is none that anybody wants on paper.
inline constexpr int mostTextPages = 50'000;

/// Lays plain text out on the paper and within the margins that the job states, in a face of even
/// width and in a size at which eighty columns fit between the margins, and writes it as a PDF
/// into the open file `pdf`, from where that stands.
///
/// Lines that are longer go on in the next one, between words where there are some. A form
/// feed begins a page, but makes no blank one: several of them count as one, and those before and
/// behind all of the text as none. Works line by line, so that it takes little more memory than
/// the text.
///
/// Needs a QGuiApplication. `text` is as decodedText() gives it.
[[nodiscard]] TextPDF writeTextPDF(std::u16string_view text, const conversion::JobHeader& job,
                                   int pdf);

} // namespace quillorn::text
