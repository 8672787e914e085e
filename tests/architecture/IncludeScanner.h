#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillorn::architecture {

/// One include directive as written.
struct Include {
    enum class Form { quoted, angled, macro };

    std::string path; ///< between the quotes or brackets; for macro, the macro's name
    Form form = Form::quoted;
    int line = 0; ///< counted from 1

    bool operator==(const Include&) const = default;
};

/// The include directives of a C++ source, in order. Understands enough of the
/// language to pass over comments, string literals (raw ones too) and character
/// literals, so that an include that only stands in a text is not reported. Both
/// sides of an #if count: a direction that only one platform takes is taken.
std::vector<Include> includesOf(std::string_view source);

} // namespace quillorn::architecture
