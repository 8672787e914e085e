#include "platform/imaging/TIFFHeader.h"

#include "platform/imaging/ByteView.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace quillorn {

namespace {

/// Where the numbers of a directory stand: TIFF 6.0 section 2, and BigTIFF, which widens them.
struct Layout {
    std::size_t firstDirectory; ///< offset of the first directory's offset
    std::size_t wordSize;       ///< of offsets and of an entry's count of values
    std::size_t countSize;      ///< of the number of entries
};

constexpr Layout classic{4, 4, 2};
constexpr Layout big{8, 8, 8};

/// More entries than any file has; a damaged count only costs time.
constexpr std::uint64_t mostEntries = 1000;

enum Tag : std::uint16_t {
    imageWidth = 256,
    imageLength = 257,
    bitsPerSample = 258,
    photometricInterpretation = 262,
    orientation = 274,
    samplesPerPixel = 277,
    xResolution = 282,
    yResolution = 283,
    resolutionUnit = 296,
    sampleFormat = 339
};

constexpr std::uint16_t shortType = 3;
constexpr std::uint16_t longType = 4;
constexpr std::uint16_t rationalType = 5;
constexpr std::uint16_t long8Type = 16;

class Directory {
public:
    Directory(ByteView file, Layout layout) : m_file(file), m_layout(layout) {
        const std::uint64_t start = word(layout.firstDirectory);
        if (start < m_file.size()) {
            const auto at = static_cast<std::size_t>(start);
            m_count = layout.countSize == 2 ? m_file.u16(at) : m_file.u64(at);
            m_count = std::min(m_count, mostEntries);
            m_entries = at + layout.countSize;
        }
    }

    /// The offset of the first value of a tag; 0 when the tag is missing or has another type.
    [[nodiscard]] std::size_t valueOf(std::uint16_t tag, std::uint16_t& type) const {
        const std::size_t entrySize = 4 + 2 * m_layout.wordSize;
        for (std::uint64_t i = 0; i < m_count; ++i) {
            const std::size_t entry = m_entries + static_cast<std::size_t>(i) * entrySize;
            if (!m_file.has(entry, entrySize)) {
                return 0;
            }
            if (m_file.u16(entry) == tag) {
                type = m_file.u16(entry + 2);
                return placeOfValue(entry, type);
            }
        }
        return 0;
    }

    [[nodiscard]] std::uint32_t integer(std::uint16_t tag, std::uint32_t missing) const {
        std::uint16_t type = 0;
        const std::size_t at = valueOf(tag, type);
        if (at == 0) {
            return missing;
        }
        switch (type) {
        case shortType:
            return m_file.u16(at);
        case longType:
            return m_file.u32(at);
        case long8Type:
            return static_cast<std::uint32_t>(std::min<std::uint64_t>(m_file.u64(at), UINT32_MAX));
        default:
            return missing;
        }
    }

    [[nodiscard]] double rational(std::uint16_t tag) const {
        std::uint16_t type = 0;
        const std::size_t at = valueOf(tag, type);
        if (at == 0 || type != rationalType) {
            return 0;
        }
        const double denominator = m_file.u32(at + 4);
        return denominator > 0 ? m_file.u32(at) / denominator : 0;
    }

private:
    [[nodiscard]] std::uint64_t word(std::size_t at) const {
        return m_layout.wordSize == 4 ? m_file.u32(at) : m_file.u64(at);
    }

    /// Values that fit stand in the entry itself, others where it points.
    [[nodiscard]] std::size_t placeOfValue(std::size_t entry, std::uint16_t type) const {
        constexpr std::array<std::size_t, 6> sizes = {0, 1, 1, 2, 4, 8};
        const std::size_t valueSize = type < sizes.size() ? sizes.at(type) : sizes.back();
        const std::uint64_t values = word(entry + 4);
        const std::size_t place = entry + 4 + m_layout.wordSize;
        if (values == 0 || valueSize == 0) {
            return 0;
        }
        if (values <= m_layout.wordSize / valueSize) {
            return place;
        }
        const std::uint64_t offset = word(place);
        return offset < m_file.size() ? static_cast<std::size_t>(offset) : 0;
    }

    ByteView m_file;
    Layout m_layout;
    std::uint64_t m_count = 0;
    std::size_t m_entries = 0;
};

ImageDensity densityOf(const Directory& directory) {
    constexpr std::uint32_t inch = 2;
    constexpr std::uint32_t centimetre = 3;
    constexpr double centimetresPerInch = 2.54;
    const std::uint32_t unit = directory.integer(Tag::resolutionUnit, inch);
    if (unit != inch && unit != centimetre) {
        return {};
    }
    const double factor = unit == inch ? 1 : centimetresPerInch;
    return {directory.rational(Tag::xResolution) * factor,
            directory.rational(Tag::yResolution) * factor};
}

} // namespace

std::optional<TIFFFacts> readTIFFHeader(std::span<const char> bytes) {
    constexpr std::uint16_t classicVersion = 42;
    constexpr std::uint16_t bigVersion = 43;
    ByteView file(bytes);
    if (file.startsWith("II")) {
        file = file.inOrder(ByteView::Order::littleEndian);
    } else if (!file.startsWith("MM")) {
        return std::nullopt;
    }
    const std::uint16_t version = file.u16(2);
    if (version != classicVersion && version != bigVersion) {
        return std::nullopt;
    }
    const Directory directory(file, version == bigVersion ? big : classic);
    TIFFFacts facts;
    facts.width = directory.integer(Tag::imageWidth, 0);
    facts.height = directory.integer(Tag::imageLength, 0);
    facts.bitsPerComponent =
        static_cast<int>(std::min(directory.integer(Tag::bitsPerSample, 1), 1U << 10U));
    facts.components =
        static_cast<int>(std::min(directory.integer(Tag::samplesPerPixel, 1), 1U << 10U));
    facts.photometric = static_cast<int>(std::min<std::uint32_t>(
        directory.integer(Tag::photometricInterpretation, UINT16_MAX + 1U), UINT16_MAX + 1U));
    if (facts.photometric > UINT16_MAX) {
        facts.photometric = -1;
    }
    facts.sampleFormat =
        static_cast<int>(std::min(directory.integer(Tag::sampleFormat, 1), 1U << 10U));
    facts.orientation = sensibleOrientation(directory.integer(Tag::orientation, 1));
    facts.density = densityOf(directory);
    return facts;
}

} // namespace quillorn
