#include "platform/imaging/SmallHeaders.h"

#include "platform/imaging/ByteView.h"
#include "platform/imaging/JPEG2000Header.h"
#include "platform/imaging/PNGHeader.h"
#include "platform/imaging/TIFFHeader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace quillorn {

namespace {

using namespace std::string_view_literals;

/// The length of a number that may be negative (a BMP with its first row on top).
std::uint32_t magnitude(std::uint32_t number) {
    constexpr std::uint32_t signBit = 0x80000000U;
    return (number & signBit) != 0 ? ~number + 1 : number;
}

std::uint32_t u24(ByteView bytes, std::size_t at) {
    return bytes.u16(at) | static_cast<std::uint32_t>(bytes.u8(at + 2)) << 16U;
}

void readWebPChunk(ByteView file, std::size_t chunk, ImageFacts& facts) {
    constexpr std::uint32_t sizeMask = 0x3FFF; // 14 bits
    const std::size_t content = chunk + 8;
    if (file.startsWith("VP8X", chunk)) {
        facts.width = u24(file, content + 4) + 1;
        facts.height = u24(file, content + 7) + 1;
    } else if (file.startsWith("VP8 ", chunk) && !facts.hasSize()) {
        facts.width = file.u16(content + 6) & sizeMask;
        facts.height = file.u16(content + 8) & sizeMask;
    } else if (file.startsWith("VP8L", chunk) && !facts.hasSize()) {
        const std::uint32_t packed = file.u32(content + 1);
        facts.width = (packed & sizeMask) + 1;
        facts.height = (packed >> 14U & sizeMask) + 1;
    } else if (file.startsWith("EXIF", chunk)) {
        ByteView data = file.part(content, file.u32(chunk + 4));
        data = data.startsWith("Exif\0\0"sv) ? data.part(6) : data;
        if (const auto exif = readTIFFHeader(data.bytes())) {
            facts.orientation = exif->orientation;
            facts.density = exif->density;
        }
    }
}

} // namespace

std::optional<ImageFacts> readBMPHeader(std::span<const char> bytes) {
    // Every version of the format has a header of its own size.
    constexpr std::array<std::uint32_t, 8> headerSizes = {12, 16, 40, 52, 56, 64, 108, 124};
    constexpr std::uint32_t oldHeader = 12;
    constexpr std::uint32_t headerWithDensity = 40;
    constexpr double metresPerInch = 0.0254;
    const ByteView file(bytes, ByteView::Order::littleEndian);
    const std::uint32_t headerSize = file.u32(14);
    if (!file.startsWith("BM") || std::ranges::find(headerSizes, headerSize) == headerSizes.end()) {
        return std::nullopt;
    }
    ImageFacts facts;
    if (headerSize == oldHeader) {
        facts.width = file.u16(18);
        facts.height = file.u16(20);
    } else {
        facts.width = magnitude(file.u32(18));
        facts.height = magnitude(file.u32(22));
    }
    if (headerSize >= headerWithDensity) {
        facts.density = {file.u32(38) * metresPerInch, file.u32(42) * metresPerInch};
    }
    return facts;
}

std::optional<ImageFacts> readWebPHeader(std::span<const char> bytes) {
    const ByteView file(bytes, ByteView::Order::littleEndian);
    if (!file.startsWith("RIFF") || !file.startsWith("WEBP", 8)) {
        return std::nullopt;
    }
    ImageFacts facts;
    std::size_t chunk = 12;
    while (file.has(chunk, 8)) {
        readWebPChunk(file, chunk, facts);
        const std::size_t size = file.u32(chunk + 4);
        chunk += 8 + size + size % 2;
    }
    return facts;
}

std::optional<ImageFacts> readPSDHeader(std::span<const char> bytes) {
    const ByteView file(bytes);
    if (!file.startsWith("8BPS")) {
        return std::nullopt;
    }
    ImageFacts facts;
    facts.components = file.u16(12);
    facts.height = file.u32(14);
    facts.width = file.u32(18);
    facts.bitsPerComponent = file.u16(22);
    return facts;
}

std::optional<ImageFacts> readGIFHeader(std::span<const char> bytes) {
    const ByteView file(bytes, ByteView::Order::littleEndian);
    if (!file.startsWith("GIF87a") && !file.startsWith("GIF89a")) {
        return std::nullopt;
    }
    ImageFacts facts;
    facts.width = file.u16(6);
    facts.height = file.u16(8);
    return facts;
}

std::optional<ImageFacts> readTGAHeader(std::span<const char> bytes) {
    constexpr std::size_t headerSize = 18;
    constexpr std::uint8_t runLengthFlag = 8;
    constexpr std::uint8_t lastKind = 3; // palette, colours, grey
    const ByteView file(bytes, ByteView::Order::littleEndian);
    const std::uint8_t kind = file.u8(2) & static_cast<std::uint8_t>(~runLengthFlag);
    const std::uint8_t bits = file.u8(16);
    if (!file.has(0, headerSize) || file.u8(1) > 1 || kind < 1 || kind > lastKind ||
        (bits != 8 && bits != 15 && bits != 16 && bits != 24 && bits != 32)) {
        return std::nullopt;
    }
    ImageFacts facts;
    facts.width = file.u16(12);
    facts.height = file.u16(14);
    return facts.hasSize() ? std::optional(facts) : std::nullopt;
}

std::span<const char> largestFileInICNS(std::span<const char> bytes) {
    constexpr std::size_t entryHeader = 8;
    const ByteView file(bytes);
    std::span<const char> best;
    std::uint32_t bestWidth = 0;
    std::size_t at = entryHeader;
    while (file.startsWith("icns") && file.has(at, entryHeader)) {
        const std::size_t length = file.u32(at + 4);
        if (length < entryHeader) {
            break;
        }
        const std::span<const char> content =
            file.part(at + entryHeader, length - entryHeader).bytes();
        std::uint32_t width = 0;
        if (const auto png = readPNGHeader(content)) {
            width = png->width;
        } else if (const auto jpeg2000 = readJPEG2000Header(content)) {
            width = jpeg2000->width;
        }
        if (width > bestWidth) {
            bestWidth = width;
            best = content;
        }
        at += length;
    }
    return best;
}

} // namespace quillorn
