#pragma once

#include <string>

namespace quillorn::tests {

/// The bytes of a Word document (.docx) of one paragraph. The text is plain ASCII without markup.
[[nodiscard]] std::string wordDocument(const std::string& text);

} // namespace quillorn::tests
