#include "platform/imaging/JPEGHeader.h"

#include "platform/imaging/ByteView.h"
#include "platform/imaging/TIFFHeader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

using namespace std::string_view_literals;

enum Marker : std::uint8_t {
    startOfFrame0 = 0xC0,
    huffmanTables = 0xC4,
    jpegExtension = 0xC8,
    arithmeticConditioning = 0xCC,
    lastFrame = 0xCF,
    firstRestart = 0xD0,
    lastRestart = 0xD7,
    startOfImage = 0xD8,
    endOfImage = 0xD9,
    startOfScan = 0xDA,
    app0 = 0xE0,
    app1 = 0xE1,
    app2 = 0xE2,
    app13 = 0xED,
    app14 = 0xEE,
    temporary = 0x01
};

constexpr double centimetresPerInch = 2.54;

/// A profile of more bytes than this is left out; real ones have some megabytes at most.
constexpr std::size_t largestProfile = 16U << 20U;

bool isFrame(std::uint8_t marker) {
    return marker >= startOfFrame0 && marker <= lastFrame && marker != huffmanTables &&
           marker != jpegExtension && marker != arithmeticConditioning;
}

bool standsAlone(std::uint8_t marker) {
    return marker == temporary || (marker >= firstRestart && marker <= startOfImage);
}

/// The resolution among Photoshop's image resources: two numbers of 16.16 bits, an inch.
ImageDensity photoshopDensity(ByteView resources) {
    constexpr std::uint16_t resolutionInfo = 0x03ED;
    constexpr std::size_t resolutionSize = 16;
    constexpr double fixedPoint = 65536;
    std::size_t at = 0;
    while (resources.startsWith("8BIM", at)) {
        const std::uint16_t id = resources.u16(at + 4);
        // A name with its length before it, and the data, are both padded to an even size.
        const std::size_t name = (resources.u8(at + 6) + 2U) & ~std::size_t{1};
        const std::size_t size = resources.u32(at + 6 + name);
        const std::size_t data = at + 6 + name + 4;
        if (id == resolutionInfo && size >= resolutionSize && resources.has(data, resolutionSize)) {
            return {resources.u32(data) / fixedPoint, resources.u32(data + 8) / fixedPoint};
        }
        at = data + size + size % 2;
    }
    return {};
}

/// Walks the markers. Each step moves on by a marker's length, so the walk ends.
class Walk {
public:
    explicit Walk(ByteView file) : m_file(file) {}

    std::optional<JPEGFacts> run() {
        std::size_t at = 2;
        while (nextMarker(at)) {
            const std::uint8_t marker = m_file.u8(at + 1);
            at += 2;
            if (marker == endOfImage) {
                m_facts.isComplete = m_hasScan;
                break;
            }
            if (standsAlone(marker)) {
                continue;
            }
            const std::size_t length = m_file.u16(at);
            if (length < 2 || !m_file.has(at, length)) {
                break;
            }
            if (marker == startOfScan) {
                m_hasScan = m_facts.process != JPEGFacts::Process::none;
            } else {
                readSegment(marker, m_file.part(at + 2, length - 2));
            }
            at += length;
        }
        return finish();
    }

private:
    /// Moves on to the next 0xFF that begins a marker; coded data writes 0xFF 0x00 for its own.
    [[nodiscard]] bool nextMarker(std::size_t& at) const {
        while (m_file.has(at, 2)) {
            const std::span<const char> rest = m_file.bytes().subspan(at);
            const void* const found = std::memchr(rest.data(), 0xFF, rest.size() - 1);
            if (found == nullptr) {
                return false;
            }
            at += static_cast<std::size_t>(static_cast<const char*>(found) - rest.data());
            const std::uint8_t code = m_file.u8(at + 1);
            if (code != 0 && code != 0xFF) {
                return true;
            }
            at += code == 0 ? 2 : 1;
        }
        return false;
    }

    void readSegment(std::uint8_t marker, ByteView segment) {
        if (isFrame(marker)) {
            readFrame(marker, segment);
        } else if (marker == app0 && segment.startsWith("JFIF\0"sv)) {
            readJFIF(segment);
        } else if (marker == app1 && segment.startsWith("Exif\0"sv)) {
            readExif(segment.part(6));
        } else if (marker == app2 && segment.startsWith("ICC_PROFILE\0"sv)) {
            m_profileParts.try_emplace(segment.u8(12), segment.part(14).bytes());
            m_profilePartCount = segment.u8(13);
        } else if (marker == app13 && segment.startsWith("Photoshop 3.0\0"sv)) {
            m_photoshop = photoshopDensity(segment.part(14));
        } else if (marker == app14 && segment.startsWith("Adobe"sv) && segment.size() >= 12) {
            const std::uint8_t transform = segment.u8(11);
            m_facts.adobeTransform = transform == 0   ? JPEGFacts::AdobeTransform::plain
                                     : transform == 1 ? JPEGFacts::AdobeTransform::yCbCr
                                                      : JPEGFacts::AdobeTransform::ycck;
        }
    }

    void readFrame(std::uint8_t marker, ByteView segment) {
        if (m_facts.process != JPEGFacts::Process::none) {
            return; // a hierarchical file has several; the first says enough
        }
        m_facts.process = marker == startOfFrame0       ? JPEGFacts::Process::baseline
                          : marker == startOfFrame0 + 1 ? JPEGFacts::Process::extended
                          : marker == startOfFrame0 + 2 ? JPEGFacts::Process::progressive
                                                        : JPEGFacts::Process::other;
        m_facts.bitsPerComponent = segment.u8(0);
        m_facts.height = segment.u16(1);
        m_facts.width = segment.u16(3);
        m_facts.components = segment.u8(5);
        constexpr std::size_t componentSize = 3;
        constexpr std::size_t firstComponent = 6;
        m_namesRGB = m_facts.components == 3 && segment.u8(firstComponent) == 'R' &&
                     segment.u8(firstComponent + componentSize) == 'G' &&
                     segment.u8(firstComponent + 2 * componentSize) == 'B';
    }

    void readJFIF(ByteView segment) {
        m_hasJFIF = true;
        constexpr std::uint8_t perInch = 1;
        constexpr std::uint8_t perCentimetre = 2;
        const std::uint8_t unit = segment.u8(7);
        if (unit == perInch || unit == perCentimetre) {
            const double factor = unit == perInch ? 1 : centimetresPerInch;
            m_jfif = {segment.u16(8) * factor, segment.u16(10) * factor};
        }
    }

    void readExif(ByteView data) {
        if (const auto exif = readTIFFHeader(data.bytes()); exif && !m_hasExif) {
            m_hasExif = true;
            m_facts.orientation = exif->orientation;
            m_exif = exif->density;
        }
    }

    std::optional<JPEGFacts> finish() {
        if (m_facts.process == JPEGFacts::Process::none || !m_facts.hasSize()) {
            return std::nullopt;
        }
        for (const ImageDensity& density : {m_jfif, m_exif, m_photoshop}) {
            if (density.isUsable()) {
                m_facts.density = density;
                break;
            }
        }
        m_facts.namesRGB =
            m_namesRGB && !m_hasJFIF && m_facts.adobeTransform == JPEGFacts::AdobeTransform::none;
        m_facts.iccProfile = wholeProfile();
        return std::move(m_facts);
    }

    /// ICC.1:2010, annex B.4: parts are numbered from 1 and may stand in any order.
    [[nodiscard]] std::vector<char> wholeProfile() const {
        std::vector<char> profile;
        for (int part = 1; part <= m_profilePartCount; ++part) {
            const auto found = m_profileParts.find(part);
            if (found == m_profileParts.end() ||
                profile.size() + found->second.size() > largestProfile) {
                return {};
            }
            profile.insert(profile.end(), found->second.begin(), found->second.end());
        }
        return isProfileFor(profile, m_facts.components) ? profile : std::vector<char>();
    }

    ByteView m_file;
    JPEGFacts m_facts;
    ImageDensity m_jfif;
    ImageDensity m_exif;
    ImageDensity m_photoshop;
    std::map<int, std::span<const char>> m_profileParts;
    int m_profilePartCount = 0;
    bool m_hasScan = false;
    bool m_hasJFIF = false;
    bool m_hasExif = false;
    bool m_namesRGB = false;
};

} // namespace

bool JPEGFacts::suitsPDF() const {
    return isComplete && process != Process::none && process != Process::other &&
           bitsPerComponent == 8 && (components == 1 || components == 3 || components == 4);
}

std::optional<JPEGFacts> readJPEGHeader(std::span<const char> bytes) {
    const ByteView file(bytes);
    if (!file.startsWith("\xFF\xD8\xFF")) {
        return std::nullopt;
    }
    return Walk(file).run();
}

} // namespace quillorn
