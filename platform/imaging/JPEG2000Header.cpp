#include "platform/imaging/JPEG2000Header.h"

#include "platform/imaging/ByteView.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quillorn {

namespace {

using namespace std::string_view_literals;
using Colour = JPEG2000Facts::Colour;

constexpr std::string_view signatureBox = "\0\0\0\x0CjP  \r\n\x87\n"sv;
constexpr std::string_view codestreamStart = "\xFF\x4F\xFF\x51"sv;
constexpr std::string_view codestreamEnd = "\xFF\xD9"sv;
constexpr std::uint32_t sRGBSpace = 16;
constexpr std::uint32_t greySpace = 17;
constexpr std::uint8_t signFlag = 0x80;
constexpr std::uint8_t profileMethod = 2;
constexpr std::uint8_t enumeratedMethod = 1;

struct Box {
    std::string_view type; ///< empty at the end
    ByteView content;
    std::size_t next = 0;
    bool isCut = false; ///< says that it is longer than what is there
};

Box boxAt(ByteView parent, std::size_t at) {
    constexpr std::size_t shortHeader = 8;
    constexpr std::size_t longHeader = 16;
    if (!parent.has(at, shortHeader)) {
        return {};
    }
    std::uint64_t length = parent.u32(at);
    std::size_t header = shortHeader;
    if (length == 1) {
        length = parent.u64(at + shortHeader);
        header = longHeader;
    }
    const std::size_t available = parent.size() - at;
    if (length == 0) {
        length = available;
    }
    if (length < header || header > available) {
        return {};
    }
    const auto inside = static_cast<std::size_t>(std::min<std::uint64_t>(length, available));
    return Box{std::string_view(parent.bytes().data() + at + 4, 4),
               parent.part(at + header, inside - header), at + inside, length > available};
}

void readCodestream(ByteView codestream, JPEG2000Facts& facts) {
    if (!codestream.startsWith(codestreamStart)) {
        return;
    }
    // Offsets from the start of the codestream; the size marker follows the first one at once.
    constexpr std::size_t sizeOffset = 8;
    constexpr std::size_t countOffset = 40;
    constexpr std::size_t componentsOffset = 42;
    constexpr std::size_t componentSize = 3;
    const auto extent = [&codestream](std::size_t at) {
        const std::uint32_t end = codestream.u32(at);
        const std::uint32_t start = codestream.u32(at + 8);
        return end > start ? end - start : 0;
    };
    facts.width = extent(sizeOffset);
    facts.height = extent(sizeOffset + 4);
    facts.components = codestream.u16(countOffset);
    const std::uint8_t depth = codestream.u8(componentsOffset);
    facts.bitsPerComponent = (depth & ~signFlag) + 1;
    facts.isUniform = (depth & signFlag) == 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(facts.components); ++i) {
        const std::size_t at = componentsOffset + i * componentSize;
        facts.isUniform = facts.isUniform && codestream.u8(at) == depth &&
                          codestream.u8(at + 1) == 1 && codestream.u8(at + 2) == 1;
    }
    facts.isComplete =
        codestream.size() >= codestreamEnd.size() &&
        codestream.startsWith(codestreamEnd, codestream.size() - codestreamEnd.size());
}

void readColour(ByteView box, JPEG2000Facts& facts) {
    constexpr std::size_t start = 3;
    if (facts.colour != Colour::unknown) {
        return; // the first that is understood counts
    }
    if (box.u8(0) == enumeratedMethod) {
        const std::uint32_t space = box.u32(start);
        facts.colour = space == sRGBSpace   ? Colour::sRGB
                       : space == greySpace ? Colour::grey
                                            : Colour::other;
    } else if (box.u8(0) == profileMethod) {
        const std::span<const char> profile = box.part(start).bytes();
        facts.iccProfile.assign(profile.begin(), profile.end());
        facts.colour = Colour::profile;
    }
}

/// Colours 1, 2, ... in the order of the channels are what a file without the box has.
void readChannels(ByteView box, JPEG2000Facts& facts) {
    constexpr std::size_t entrySize = 6;
    const std::size_t count = box.u16(0);
    for (std::size_t i = 0; i < count && box.has(2 + i * entrySize, entrySize); ++i) {
        const std::size_t at = 2 + i * entrySize;
        const bool isPlain = box.u16(at) == i && box.u16(at + 2) == 0 && box.u16(at + 4) == i + 1;
        facts.hasOtherChannels = facts.hasOtherChannels || !isPlain;
    }
}

/// Dots a metre, as two fractions with exponents of ten.
ImageDensity readResolution(ByteView box) {
    constexpr double metresPerInch = 0.0254;
    const auto perInch = [&box](std::size_t fraction, std::size_t exponent) {
        const double denominator = box.u16(fraction + 2);
        const auto power = static_cast<std::int8_t>(box.u8(exponent));
        return denominator > 0
                   ? box.u16(fraction) / denominator * std::pow(10.0, power) * metresPerInch
                   : 0.0;
    };
    return {perInch(4, 9), perInch(0, 8)};
}

void readResolutions(ByteView parent, JPEG2000Facts& facts) {
    for (Box box = boxAt(parent, 0); !box.type.empty(); box = boxAt(parent, box.next)) {
        const bool isDisplay = box.type == "resd";
        if (isDisplay || (box.type == "resc" && !facts.density.isUsable())) {
            facts.density = readResolution(box.content);
        }
    }
}

void readHeaderBox(ByteView parent, JPEG2000Facts& facts) {
    for (Box box = boxAt(parent, 0); !box.type.empty(); box = boxAt(parent, box.next)) {
        if (box.type == "colr") {
            readColour(box.content, facts);
        } else if (box.type == "pclr") {
            facts.hasPalette = true;
        } else if (box.type == "cdef") {
            readChannels(box.content, facts);
        } else if (box.type == "res ") {
            readResolutions(box.content, facts);
        }
    }
}

class Writer {
public:
    void number(std::uint64_t value, std::size_t size) {
        for (std::size_t i = size; i-- > 0;) {
            m_bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFFU));
        }
    }
    void text(std::string_view text) { m_bytes.insert(m_bytes.end(), text.begin(), text.end()); }
    [[nodiscard]] std::vector<char> take() { return std::move(m_bytes); }

private:
    std::vector<char> m_bytes;
};

} // namespace

bool JPEG2000Facts::suitsPDF() const {
    constexpr int eight = 8;
    constexpr int sixteen = 16;
    const bool colourFits = isBareCodestream || colour == Colour::unknown
                                ? components == 1 || components == 3
                            : colour == Colour::grey    ? components == 1
                            : colour == Colour::sRGB    ? components == 3
                            : colour == Colour::profile ? isProfileFor(iccProfile, components)
                                                        : false;
    return isComplete && isUniform && !hasPalette && !hasOtherChannels && colourFits && hasSize() &&
           (bitsPerComponent == eight || bitsPerComponent == sixteen);
}

std::optional<JPEG2000Facts> readJPEG2000Header(std::span<const char> bytes) {
    const ByteView file(bytes);
    JPEG2000Facts facts;
    if (file.startsWith(codestreamStart)) {
        facts.isBareCodestream = true;
        readCodestream(file, facts);
        return facts;
    }
    if (!file.startsWith(signatureBox)) {
        return std::nullopt;
    }
    bool hasCodestream = false;
    for (Box box = boxAt(file, 0); !box.type.empty(); box = boxAt(file, box.next)) {
        if (box.type == "jp2h") {
            readHeaderBox(box.content, facts);
        } else if (box.type == "jp2c" && !hasCodestream) {
            hasCodestream = true;
            readCodestream(box.content, facts);
            facts.isComplete = facts.isComplete && !box.isCut;
        }
    }
    return facts;
}

std::vector<char> jp2BoxesBefore(const JPEG2000Facts& facts) {
    constexpr std::uint64_t compressionType = 7;
    Writer out;
    out.text(signatureBox);
    out.text("\0\0\0\x14"
             "ftypjp2 \0\0\0\0jp2 "sv);
    out.text("\0\0\0\x2D"
             "jp2h\0\0\0\x16ihdr"sv);
    out.number(facts.height, 4);
    out.number(facts.width, 4);
    out.number(static_cast<std::uint64_t>(facts.components), 2);
    out.number(static_cast<std::uint64_t>(facts.bitsPerComponent) - 1, 1);
    out.number(compressionType, 1);
    out.number(0, 2); // the colour space below is known; no intellectual property
    out.text("\0\0\0\x0F"
             "colr\1\0\0"sv);
    out.number(facts.components == 1 ? greySpace : sRGBSpace, 4);
    out.text("\0\0\0\0jp2c"sv); // up to the end of the file
    return out.take();
}

} // namespace quillorn
