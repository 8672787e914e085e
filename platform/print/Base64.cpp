#include "platform/print/Base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace quillorn {

namespace {

constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t noDigit = 64;
constexpr char padding = '=';

constexpr std::array<std::uint8_t, 256> makeValues() {
    std::array<std::uint8_t, 256> values{};
    values.fill(noDigit);
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
    }
    return values;
}
constexpr std::array<std::uint8_t, 256> valueOf = makeValues();

} // namespace

std::string toBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t here = bytes.size() - i;
        const auto byteAt = [&](std::size_t offset) -> std::uint32_t {
            return offset < here ? static_cast<unsigned char>(bytes[i + offset]) : 0U;
        };
        const std::uint32_t group = byteAt(0) << 16U | byteAt(1) << 8U | byteAt(2);
        text += alphabet[group >> 18U];
        text += alphabet[group >> 12U & 63U];
        text += here > 1 ? alphabet[group >> 6U & 63U] : padding;
        text += here > 2 ? alphabet[group & 63U] : padding;
    }
    return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::size_t digits = text.size();
    while (digits > 0 && text.size() - digits < 2 && text[digits - 1] == padding) {
        --digits;
    }
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < digits; ++i) {
        const std::uint8_t value = valueOf[static_cast<unsigned char>(text[i])];
        if (value == noDigit) {
            return std::nullopt;
        }
        group = group << 6U | value;
        if (i % 4 != 0) {
            const auto unusedBits = static_cast<unsigned>(2U * (3U - i % 4U));
            bytes += static_cast<char>(group >> unusedBits & 255U);
        }
    }
    return bytes;
}

} // namespace quillorn
