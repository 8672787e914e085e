#pragma once

#include <compare>
#include <string_view>

namespace quillorn {

/// "1.7" as two numbers; 0.0 stands for a file that is no PDF.
struct PDFVersion {
    int major = 0;
    int minor = 0;

    /// What `text` begins with; 0.0 when that is no version.
    [[nodiscard]] static PDFVersion parse(std::string_view text);

    auto operator<=>(const PDFVersion&) const = default;
};

} // namespace quillorn
