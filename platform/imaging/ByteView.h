#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quillorn {

/// Foreign bytes, read without ever leaving them: a number that would lie outside reads as 0, and
/// a part that would reach beyond the end is cut there. Owns nothing; offsets are in bytes.
class ByteView {
public:
    enum class Order { bigEndian, littleEndian };

    ByteView() = default;
    explicit ByteView(std::span<const char> bytes, Order order = Order::bigEndian)
        : m_bytes(bytes), m_order(order) {}

    [[nodiscard]] std::size_t size() const { return m_bytes.size(); }
    [[nodiscard]] std::span<const char> bytes() const { return m_bytes; }
    [[nodiscard]] bool has(std::size_t offset, std::size_t count) const {
        return offset <= size() && count <= size() - offset;
    }
    [[nodiscard]] ByteView part(std::size_t offset, std::size_t count = SIZE_MAX) const {
        if (offset >= size()) {
            return ByteView({}, m_order);
        }
        return ByteView(m_bytes.subspan(offset, std::min(count, size() - offset)), m_order);
    }
    [[nodiscard]] ByteView inOrder(Order order) const { return ByteView(m_bytes, order); }

    [[nodiscard]] bool startsWith(std::string_view text, std::size_t offset = 0) const {
        return has(offset, text.size()) &&
               std::string_view(m_bytes.data() + offset, text.size()) == text;
    }
    [[nodiscard]] std::uint8_t u8(std::size_t offset) const {
        return static_cast<std::uint8_t>(number(offset, 1));
    }
    [[nodiscard]] std::uint16_t u16(std::size_t offset) const {
        return static_cast<std::uint16_t>(number(offset, 2));
    }
    [[nodiscard]] std::uint32_t u32(std::size_t offset) const {
        return static_cast<std::uint32_t>(number(offset, 4));
    }
    [[nodiscard]] std::uint64_t u64(std::size_t offset) const { return number(offset, 8); }

private:
    [[nodiscard]] std::uint64_t number(std::size_t offset, std::size_t count) const {
        if (!has(offset, count)) {
            return 0;
        }
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = m_order == Order::bigEndian ? i : count - 1 - i;
            value = value << 8U | static_cast<std::uint8_t>(m_bytes[offset + at]);
        }
        return value;
    }

    std::span<const char> m_bytes;
    Order m_order = Order::bigEndian;
};

} // namespace quillorn
