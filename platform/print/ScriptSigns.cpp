#include "platform/print/ScriptSigns.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace quillorn {

namespace {

constexpr std::size_t longestLook = std::size_t{1} << 20U; // bytes

/// What goes with scripts, as element or address; what shows documents of its own; what leads on.
constexpr std::array<std::string_view, 5> signs = {"script", "frame", "<object", "<embed",
                                                   "refresh"};

bool isLetter(char ch) {
    return ch >= 'a' && ch <= 'z';
}

/// Whether an attribute like "onload=" may stand in the text, in small letters.
bool mayHoldHandlers(std::string_view text) {
    constexpr std::string_view start = "on";
    for (std::size_t at = text.find(start); at != std::string_view::npos;
         at = text.find(start, at + 1)) {
        std::size_t end = at + start.size();
        while (end < text.size() && isLetter(text[end])) {
            ++end;
        }
        end = std::min(text.find_first_not_of(" \t\r\n\f", end), text.size());
        if (end < text.size() && text[end] == '=' && (at == 0 || !isLetter(text[at - 1]))) {
            return true;
        }
    }
    return false;
}

} // namespace

bool mayHoldScripts(const WebResource& page) {
    if (!page.mimeType.starts_with("text/html") || page.data.size() > longestLook) {
        return true;
    }
    std::string text; // of UTF-16, too, as far as it is ASCII
    text.reserve(page.data.size());
    for (const char ch : page.data) {
        if (ch != '\0') {
            text.push_back(ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch - 'A' + 'a') : ch);
        }
    }
    return mayHoldHandlers(text) || std::ranges::any_of(signs, [&text](std::string_view sign) {
               return text.find(sign) != std::string::npos;
           });
}

} // namespace quillorn
