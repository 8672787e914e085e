#include "platform/imaging/PNGHeader.h"

#include "platform/imaging/ByteView.h"
#include "platform/imaging/TIFFHeader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <zlib.h>

namespace quillorn {

namespace {

using namespace std::string_view_literals;
using Kind = PNGFacts::Kind;

constexpr std::string_view signature = "\x89PNG\r\n\x1A\n"sv;
constexpr std::size_t chunkFrame = 12; // length, type and sum around the content
constexpr std::size_t largestProfile = 16U << 20U;

std::optional<Kind> kindOf(std::uint8_t colourType) {
    switch (colourType) {
    case 0:
        return Kind::grey;
    case 2:
        return Kind::rgb;
    case 3:
        return Kind::palette;
    case 4:
        return Kind::greyAlpha;
    case 6:
        return Kind::rgbAlpha;
    default:
        return std::nullopt;
    }
}

int componentsOf(Kind kind) {
    switch (kind) {
    case Kind::grey:
    case Kind::palette:
        return 1;
    case Kind::greyAlpha:
        return 2;
    case Kind::rgb:
        return 3;
    case Kind::rgbAlpha:
        break;
    }
    return 4;
}

bool isAllowedDepth(Kind kind, int bits) {
    if (kind == Kind::grey || kind == Kind::palette) {
        return bits == 1 || bits == 2 || bits == 4 || bits == 8 ||
               (bits == 16 && kind == Kind::grey);
    }
    return bits == 8 || bits == 16;
}

bool readHeaderChunk(ByteView chunk, PNGFacts& facts) {
    constexpr std::size_t depthOffset = 8;
    const auto kind = kindOf(chunk.u8(depthOffset + 1));
    const int bits = chunk.u8(depthOffset);
    if (!kind || !isAllowedDepth(*kind, bits)) {
        return false;
    }
    facts.kind = *kind;
    facts.width = chunk.u32(0);
    facts.height = chunk.u32(4);
    facts.components = componentsOf(*kind);
    facts.bitsPerComponent = bits;
    facts.isInterlaced = chunk.u8(depthOffset + 4) != 0;
    return facts.hasSize();
}

void readChunk(std::string_view type, ByteView chunk, PNGFacts& facts) {
    constexpr std::uint8_t perMetre = 1;
    constexpr double metresPerInch = 0.0254;
    if (type == "pHYs" && chunk.u8(8) == perMetre) {
        facts.density = {chunk.u32(0) * metresPerInch, chunk.u32(4) * metresPerInch};
    } else if (type == "PLTE") {
        facts.palette = chunk.bytes();
    } else if (type == "tRNS") {
        facts.hasTransparency = true;
    } else if (type == "eXIf") {
        if (const auto exif = readTIFFHeader(chunk.bytes())) {
            facts.orientation = exif->orientation;
        }
    } else if (type == "iCCP") {
        // A name that ends with a zero, the method (0), the packed profile.
        const std::span<const char> bytes = chunk.bytes();
        const auto end = std::ranges::find(bytes, '\0');
        if (bytes.end() - end > 2 && *(end + 1) == 0) {
            facts.zippedProfile = std::span<const char>(end + 2, bytes.end());
        }
    } else if (type == "IDAT") {
        facts.data.push_back(chunk.bytes());
    }
}

/// Unpacks what zlib packed piece by piece and hands it on in blocks of at most this many bytes.
class Unpacker {
public:
    Unpacker() { m_isReady = ::inflateInit(&m_state) == Z_OK; }
    ~Unpacker() { ::inflateEnd(&m_state); }
    Unpacker(const Unpacker&) = delete;
    Unpacker& operator=(const Unpacker&) = delete;

    /// `take` gets each block and says whether to go on. True when the packed data has ended by
    /// itself and `take` wanted all of it.
    template <class Take>
    bool run(std::span<const std::span<const char>> pieces, Take take) {
        for (const std::span<const char> piece : pieces) {
            // zlib counts in 32 bits, and promises not to write where it reads.
            if (!m_isReady || piece.size() > UINT32_MAX) {
                return false;
            }
            m_state.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data())); // NOLINT
            m_state.avail_in = static_cast<uInt>(piece.size());
            while (m_state.avail_in > 0 || m_state.avail_out == 0) {
                m_state.next_out = reinterpret_cast<Bytef*>(m_block.data());
                m_state.avail_out = static_cast<uInt>(m_block.size());
                const int status = ::inflate(&m_state, Z_NO_FLUSH);
                if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) {
                    return false;
                }
                if (!take(std::span(m_block.data(), m_block.size() - m_state.avail_out))) {
                    return false;
                }
                if (status == Z_STREAM_END) {
                    return true;
                }
                if (status == Z_BUF_ERROR) {
                    break; // wants the next piece
                }
            }
        }
        return false;
    }

private:
    z_stream m_state{};
    std::array<char, 32U << 10U> m_block{};
    bool m_isReady = false;
};

} // namespace

bool PNGFacts::suitsPDF() const {
    const bool hasColours =
        kind != Kind::palette || (palette.size() >= 3 && palette.size() % 3 == 0 &&
                                  palette.size() / 3 <= (std::size_t{1} << bitsPerComponent));
    return !isInterlaced && !hasTransparency && hasColours && !data.empty() &&
           (kind == Kind::grey || kind == Kind::rgb || kind == Kind::palette);
}

std::size_t PNGFacts::rowBytes() const {
    const std::size_t bits = std::size_t{width} * static_cast<std::size_t>(components) *
                             static_cast<std::size_t>(bitsPerComponent);
    return (bits + 7) / 8;
}

std::optional<PNGFacts> readPNGHeader(std::span<const char> bytes) {
    const ByteView file(bytes);
    if (!file.startsWith(signature)) {
        return std::nullopt;
    }
    PNGFacts facts;
    std::size_t at = signature.size();
    bool hasHeader = false;
    while (file.has(at, chunkFrame)) {
        const std::size_t length = file.u32(at);
        const std::string_view type(bytes.data() + at + 4, 4);
        if (hasHeader != (type != "IHDR")) {
            break; // the header chunk comes first, and once
        }
        const bool isData = type == "IDAT";
        if (!isData && !facts.data.empty()) {
            facts.hasDataEnd = true;
            break;
        }
        const ByteView chunk = file.part(at + 8, length);
        if (!hasHeader) {
            hasHeader = readHeaderChunk(chunk, facts);
            if (!hasHeader) {
                return std::nullopt;
            }
        } else {
            readChunk(type, chunk, facts);
        }
        at += chunkFrame + length;
    }
    return hasHeader ? std::optional(std::move(facts)) : std::nullopt;
}

bool hasWholeImageData(const PNGFacts& facts) {
    constexpr char lastFilter = 4;
    const std::size_t row = facts.rowBytes() + 1;
    const std::uint64_t wanted = std::uint64_t{row} * facts.height;
    std::uint64_t done = 0;
    bool isSound = true;
    const auto take = [&](std::span<const char> block) {
        // The first byte of each row names its filter.
        const std::size_t intoRow = static_cast<std::size_t>(done % row);
        for (std::size_t at = intoRow == 0 ? 0 : row - intoRow; at < block.size(); at += row) {
            isSound = isSound && block[at] >= 0 && block[at] <= lastFilter;
        }
        done += block.size();
        return isSound && done <= wanted;
    };
    return Unpacker().run(facts.data, take) && done == wanted;
}

std::vector<char> unpackedProfile(const PNGFacts& facts) {
    std::vector<char> profile;
    const auto take = [&profile](std::span<const char> block) {
        profile.insert(profile.end(), block.begin(), block.end());
        return profile.size() <= largestProfile;
    };
    const int components = facts.kind == Kind::grey || facts.kind == Kind::greyAlpha ? 1 : 3;
    const bool isWhole =
        !facts.zippedProfile.empty() && Unpacker().run(std::span(&facts.zippedProfile, 1), take);
    return isWhole && isProfileFor(profile, components) ? profile : std::vector<char>();
}

} // namespace quillorn
