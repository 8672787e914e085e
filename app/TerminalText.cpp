#include "app/TerminalText.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace quillorn {

namespace {

struct Character {
    char32_t code = 0;
    std::size_t bytes = 0; ///< 0 where the text is no UTF-8
};

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The first character of `text`, which is not empty.
Character firstCharacter(std::string_view text) {
    struct Length {
        unsigned char mask;
        unsigned char lead;
        char32_t smallest; ///< written in fewer bytes if it were less
    };
    constexpr std::array<Length, 4> lengths = {
        {{0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}}};
    const auto lead = static_cast<unsigned char>(text.front());
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        if ((lead & lengths[i].mask) != lengths[i].lead) {
            continue;
        }
        if (text.size() <= i ||
            !std::all_of(text.begin() + 1, text.begin() + 1 + static_cast<std::ptrdiff_t>(i),
                         isContinuation)) {
            return {};
        }
        char32_t code = lead & static_cast<unsigned char>(~lengths[i].mask);
        for (std::size_t k = 1; k <= i; ++k) {
            code = code << 6U | (static_cast<unsigned char>(text[k]) & 0x3FU);
        }
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        if (code < lengths[i].smallest || code > 0x10FFFF || surrogate) {
            return {};
        }
        return {code, i + 1};
    }
    return {};
}

bool isUnprintable(char32_t code) {
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool separator = code == 0x2028 || code == 0x2029; // ends of lines and paragraphs
    const bool direction = code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                           (code >= 0x2066 && code <= 0x2069) || code == 0x061C;
    return control || separator || direction;
}

std::string escaped(char byte) {
    constexpr std::string_view digits = "0123456789abcdef";
    if (byte == '\n') {
        return "\\n";
    }
    if (byte == '\t') {
        return "\\t";
    }
    const auto value = static_cast<unsigned char>(byte);
    return {'\\', 'x', digits[value / 16U], digits[value % 16U]};
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = firstCharacter(text);
        const std::size_t bytes = std::max<std::size_t>(1, character.bytes);
        for (const char byte : text.substr(0, bytes)) {
            if (character.bytes == 0 || isUnprintable(character.code)) {
                result += escaped(byte);
            } else {
                result += byte;
            }
        }
        text.remove_prefix(bytes);
    }
    return result;
}

std::string grouped(std::uint64_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t place = digits.size(); place > 3;) {
        place -= 3;
        digits.insert(place, 1, ',');
    }
    return digits;
}

std::string counted(std::size_t count, std::string_view thing) {
    return grouped(count) + " " + std::string(thing) + (count == 1 ? "" : "s");
}

std::string shortened(std::string_view text, std::size_t characters) {
    const auto starts = [](char byte) { return !isContinuation(byte); };
    if (static_cast<std::size_t>(std::count_if(text.begin(), text.end(), starts)) <= characters) {
        return std::string(text);
    }
    std::string result;
    std::size_t taken = 0;
    for (const char byte : text) {
        taken += static_cast<std::size_t>(starts(byte));
        if (taken >= characters) {
            break;
        }
        result += byte;
    }
    return characters == 0 ? result : result + "…";
}

std::string fullPath(const std::string& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (error) {
        return path;
    }
    const bool climbs = std::find(absolute.begin(), absolute.end(), "..") != absolute.end();
    return climbs ? absolute.string() : absolute.lexically_normal().string();
}

} // namespace quillorn
