#include "platform/imaging/worker/TGADecoder.h"

#include "platform/imaging/ByteView.h"
#include "platform/imaging/worker/PixelPacking.h"
#include "platform/imaging/worker/Raster.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

namespace quillorn::worker {

namespace {

// As in version 2.0 of the Truevision TGA format.
constexpr std::size_t headerSize = 18;
constexpr std::uint8_t runLengthFlag = 8;
constexpr std::uint8_t rightToLeftFlag = 0x10;
constexpr std::uint8_t topToBottomFlag = 0x20;
constexpr std::uint8_t alphaBitsMask = 0x0F;

enum class Kind : std::uint8_t { palette = 1, colours = 2, grey = 3 };

using Pixel = std::array<std::uint8_t, 4>; ///< red, green, blue, alpha

struct Header {
    explicit Header(ByteView file)
        : kind(static_cast<Kind>(file.u8(2) & ~unsigned{runLengthFlag})),
          hasRunLengths((file.u8(2) & runLengthFlag) != 0),
          paletteFirst(file.u16(3)),
          paletteCount(file.u8(1) == 1 ? file.u16(5) : 0),
          paletteBits(file.u8(7)),
          width(file.u16(12)),
          height(file.u16(14)),
          bits(file.u8(16)),
          isRightToLeft((file.u8(17) & rightToLeftFlag) != 0),
          isTopToBottom((file.u8(17) & topToBottomFlag) != 0),
          alphaBits(file.u8(17) & alphaBitsMask),
          dataStart(headerSize + file.u8(0)) {}

    [[nodiscard]] std::size_t paletteEntryBytes() const { return (paletteBits + 7U) / 8U; }
    [[nodiscard]] std::size_t pixelBytes() const { return (bits + 7U) / 8U; }

    Kind kind;
    bool hasRunLengths;
    std::size_t paletteFirst;
    std::size_t paletteCount;
    unsigned paletteBits;
    std::uint32_t width;
    std::uint32_t height;
    unsigned bits;
    bool isRightToLeft;
    bool isTopToBottom;
    unsigned alphaBits;
    std::size_t dataStart;
};

bool isColourDepth(unsigned bits) {
    return bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

bool isKnown(const Header& header) {
    switch (header.kind) {
    case Kind::palette:
        return (header.bits == 8 || header.bits == 16) && header.paletteCount > 0 &&
               isColourDepth(header.paletteBits);
    case Kind::colours:
        return isColourDepth(header.bits);
    case Kind::grey:
        return header.bits == 8 || header.bits == 16;
    }
    return false;
}

std::uint8_t widened(unsigned fiveBits) {
    return static_cast<std::uint8_t>(fiveBits << 3U | fiveBits >> 2U);
}

/// A colour as it is stored in a pixel or the palette.
Pixel colourAt(ByteView bytes, std::size_t at, unsigned bits) {
    constexpr unsigned fiveBits = 31;
    if (bits <= 16) {
        const unsigned packed = bytes.u16(at);
        const bool isVisible = bits == 15 || (packed & 0x8000U) != 0;
        return {widened(packed >> 10U & fiveBits), widened(packed >> 5U & fiveBits),
                widened(packed & fiveBits), static_cast<std::uint8_t>(isVisible ? 255 : 0)};
    }
    return {bytes.u8(at + 2), bytes.u8(at + 1), bytes.u8(at),
            bits == 32 ? bytes.u8(at + 3) : std::uint8_t{255}};
}

/// The stored pixels, with their run lengths undone; none when the file ends too early.
std::optional<std::vector<char>> storedPixels(const Header& header, ByteView data) {
    const std::size_t size = header.pixelBytes();
    const std::size_t wanted = std::size_t{header.width} * header.height * size;
    std::vector<char> pixels;
    if (!header.hasRunLengths) {
        if (!data.has(0, wanted)) {
            return std::nullopt;
        }
        const auto bytes = data.part(0, wanted).bytes();
        pixels.assign(bytes.begin(), bytes.end());
        return pixels;
    }
    constexpr std::uint8_t repeatFlag = 0x80;
    // Even the best packed file has 128 pixels in no fewer bytes than this.
    if (wanted / 128 > data.size() * size) {
        return std::nullopt;
    }
    pixels.reserve(wanted);
    std::size_t at = 0;
    while (pixels.size() < wanted) {
        const std::uint8_t packet = data.u8(at);
        const std::size_t count = (packet & ~unsigned{repeatFlag}) + 1U;
        const bool isRun = (packet & repeatFlag) != 0;
        const std::size_t stored = isRun ? size : count * size;
        if (!data.has(at, 1 + stored)) {
            return std::nullopt;
        }
        const auto bytes = data.part(at + 1, stored).bytes();
        for (std::size_t i = 0; i < (isRun ? count : 1); ++i) {
            pixels.insert(pixels.end(), bytes.begin(), bytes.end());
        }
        at += 1 + stored;
    }
    pixels.resize(wanted); // a last run may be longer than what is left
    return pixels;
}

class Image {
public:
    Image(const Header& header, ByteView file) : m_header(header), m_file(file) {}

    std::optional<Raster<std::uint8_t>> decode() {
        const std::size_t paletteBytes = m_header.paletteCount * m_header.paletteEntryBytes();
        const auto stored = storedPixels(m_header, m_file.part(m_header.dataStart + paletteBytes));
        if (!stored) {
            return std::nullopt;
        }
        const ByteView pixels(*stored, ByteView::Order::littleEndian);
        Raster<std::uint8_t> raster{m_header.width, m_header.height, 3, hasAlpha(), {}};
        raster.samples.resize(raster.pixels() * raster.channels());
        bool isAllTransparent = raster.hasAlpha;
        for (std::uint32_t row = 0; row < m_header.height; ++row) {
            const std::uint32_t y = m_header.isTopToBottom ? row : m_header.height - 1 - row;
            for (std::uint32_t column = 0; column < m_header.width; ++column) {
                const std::uint32_t x =
                    m_header.isRightToLeft ? m_header.width - 1 - column : column;
                const std::size_t from =
                    (std::size_t{row} * m_header.width + column) * m_header.pixelBytes();
                const Pixel pixel = pixelAt(pixels, from);
                const std::size_t to = (std::size_t{y} * m_header.width + x) * raster.channels();
                std::copy_n(pixel.begin(), raster.channels(),
                            raster.samples.begin() + static_cast<std::ptrdiff_t>(to));
                isAllTransparent = isAllTransparent && pixel[3] == 0;
            }
        }
        if (isAllTransparent) {
            // Nobody stores a picture that cannot be seen: the bits were left unset.
            for (std::size_t at = 3; at < raster.samples.size(); at += 4) {
                raster.samples[at] = 255;
            }
        }
        return raster;
    }

private:
    /// Alpha counts only where the file says that there is some.
    [[nodiscard]] bool hasAlpha() const {
        if (m_header.kind == Kind::grey) {
            return m_header.bits == 16;
        }
        const unsigned bits = m_header.kind == Kind::palette ? m_header.paletteBits : m_header.bits;
        return m_header.alphaBits > 0 && (bits == 16 || bits == 32);
    }

    [[nodiscard]] Pixel pixelAt(ByteView pixels, std::size_t at) const {
        switch (m_header.kind) {
        case Kind::grey: {
            const std::uint8_t grey = pixels.u8(at);
            return {grey, grey, grey, m_header.bits == 16 ? pixels.u8(at + 1) : std::uint8_t{255}};
        }
        case Kind::palette: {
            const std::size_t index = m_header.bits == 8 ? pixels.u8(at) : pixels.u16(at);
            if (index < m_header.paletteFirst ||
                index - m_header.paletteFirst >= m_header.paletteCount) {
                return {0, 0, 0, 255};
            }
            return colourAt(m_file,
                            m_header.dataStart +
                                (index - m_header.paletteFirst) * m_header.paletteEntryBytes(),
                            m_header.paletteBits);
        }
        case Kind::colours:
            break;
        }
        return colourAt(pixels, at, m_header.bits);
    }

    const Header& m_header;
    ByteView m_file;
};

} // namespace

Decoded decodeTGA(const Task& task, const std::vector<char>& bytes) {
    const ByteView file(bytes, ByteView::Order::littleEndian);
    const Header header(file);
    if (!file.has(0, headerSize) || !isKnown(header)) {
        return tl::unexpected(Refusal{ReplyKind::notMine, "it is a Targa file of an unknown kind"});
    }
    if (!task.limits.allowSize(header.width, header.height)) {
        return tl::unexpected(
            Refusal{ReplyKind::tooLarge, "it has more pixels than an image may have, or none"});
    }
    const auto raster = Image(header, file).decode();
    if (!raster) {
        return tl::unexpected(Refusal{ReplyKind::refused, "the file ends before its picture does"});
    }
    return packed(*raster, false);
}

} // namespace quillorn::worker
