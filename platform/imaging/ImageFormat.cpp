#include "platform/imaging/ImageFormat.h"

#include "platform/imaging/ByteView.h"
#include "platform/imaging/SmallHeaders.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <string>
#include <utility>

namespace quillorn {

namespace {

using namespace std::string_view_literals;

struct Mark {
    ImageFormat format;
    std::string_view bytes;
    std::size_t offset = 0;
};

constexpr std::array<Mark, 16> marks{{
    {ImageFormat::jpeg, "\xFF\xD8\xFF"sv},
    {ImageFormat::jpeg2000, "\0\0\0\x0CjP  \r\n\x87\n"sv},
    {ImageFormat::jpeg2000, "\xFF\x4F\xFF\x51"sv},
    {ImageFormat::png, "\x89PNG\r\n\x1A\n"sv},
    {ImageFormat::tiff, "II*\0"sv},
    {ImageFormat::tiff, "MM\0*"sv},
    {ImageFormat::tiff, "II+\0"sv},
    {ImageFormat::tiff, "MM\0+"sv},
    {ImageFormat::gif, "GIF87a"sv},
    {ImageFormat::gif, "GIF89a"sv},
    {ImageFormat::icns, "icns"sv},
    {ImageFormat::psd, "8BPS"sv},
    {ImageFormat::webp, "WEBP"sv, 8},
    {ImageFormat::bmp, "BM"sv},
    {ImageFormat::ico, "\0\0\1\0"sv},
    {ImageFormat::ico, "\0\0\2\0"sv}, // a cursor
}};

constexpr std::array<std::pair<ImageFormat, std::string_view>, 14> names{{
    {ImageFormat::jpeg, "jpeg"},
    {ImageFormat::jpeg2000, "jp2"},
    {ImageFormat::png, "png"},
    {ImageFormat::tiff, "tiff"},
    {ImageFormat::gif, "gif"},
    {ImageFormat::bmp, "bmp"},
    {ImageFormat::ico, "ico"},
    {ImageFormat::icns, "icns"},
    {ImageFormat::psd, "psd"},
    {ImageFormat::tga, "tga"},
    {ImageFormat::svg, "svg"},
    {ImageFormat::webp, "webp"},
    {ImageFormat::heif, "heic"},
    {ImageFormat::avif, "avif"},
}};

bool isCalled(std::string_view extension, std::string_view name) {
    return std::ranges::equal(extension, name, {}, [](char letter) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    });
}

/// HEIF and AVIF are told apart by the brands in their first box.
std::optional<ImageFormat> brandedFormat(ByteView head) {
    if (!head.startsWith("ftyp", 4)) {
        return std::nullopt;
    }
    const std::size_t end = std::min<std::size_t>(head.u32(0), head.size());
    for (std::size_t at = 8; at + 4 <= end; at += 4) {
        if (head.startsWith("avif", at) || head.startsWith("avis", at)) {
            return ImageFormat::avif;
        }
    }
    constexpr std::array<std::string_view, 8> brands = {"heic", "heix", "hevc", "hevx",
                                                        "heim", "heis", "mif1", "msf1"};
    const bool isHEIF = std::ranges::any_of(
        brands, [&head](std::string_view brand) { return head.startsWith(brand, 8); });
    return isHEIF ? std::optional(ImageFormat::heif) : std::nullopt;
}

/// Text as bytes, also where its letters take two.
std::string narrowed(std::span<const char> head) {
    std::string text(head.data(), head.size());
    const bool isBigEndian = text.starts_with("\xFE\xFF"sv) || text.starts_with("\0<"sv);
    const bool isLittleEndian = text.starts_with("\xFF\xFE"sv) || text.starts_with("<\0"sv);
    if (!isBigEndian && !isLittleEndian) {
        return text;
    }
    std::string letters;
    for (std::size_t i = isBigEndian ? 1 : 0; i < text.size(); i += 2) {
        letters += text[i];
    }
    constexpr std::string_view halves = "\xFE\xFF"; // one half of a byte order mark
    letters.erase(0, !letters.empty() && halves.find(letters.front()) != halves.npos ? 1 : 0);
    return letters;
}

/// Text whose first element is <svg>; a declaration, comments and a document type may precede it.
bool isSVG(std::span<const char> head, std::string_view extension) {
    const std::string narrow = narrowed(head);
    std::string_view text = narrow;
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos || text[start] != '<') {
        return false;
    }
    // HTML pages hold drawings as well, so nothing but declarations may come before it.
    for (std::size_t at = start; at != std::string_view::npos && at < text.size();) {
        const std::string_view rest = text.substr(at);
        if (rest.starts_with("<svg") || rest.starts_with("<svg:svg")) {
            return true;
        }
        if (!rest.starts_with("<?") && !rest.starts_with("<!")) {
            return false;
        }
        const std::string_view end = rest.starts_with("<!--") ? "-->"
                                     : rest.starts_with("<?") ? "?>"
                                                              : ">";
        std::size_t stop = rest.find(end);
        if (end == ">" && rest.substr(0, stop).find('[') != std::string_view::npos) {
            stop = rest.find("]>"); // a document type with declarations inside
        }
        if (stop == std::string_view::npos) {
            break;
        }
        at = text.find('<', at + stop);
    }
    // The head ended before the first element.
    return isCalled(extension, "svg");
}

} // namespace

std::optional<ImageFormat> recogniseImage(std::span<const char> head, std::string_view extension) {
    const ByteView view(head);
    if (isCalled(extension, "tga") && readTGAHeader(head)) {
        return ImageFormat::tga; // its first bytes may look like those of an icon
    }
    for (const Mark& mark : marks) {
        if (!view.startsWith(mark.bytes, mark.offset)) {
            continue;
        }
        // Two letters are too few to be believed.
        if (mark.format == ImageFormat::bmp && !readBMPHeader(head)) {
            continue;
        }
        return mark.format;
    }
    if (const auto branded = brandedFormat(view)) {
        return branded;
    }
    const bool isPacked = view.startsWith("\x1F\x8B");
    if (isSVG(head, extension) ||
        (isPacked && (isCalled(extension, "svgz") || isCalled(extension, "svg")))) {
        return ImageFormat::svg;
    }
    return std::nullopt;
}

std::string_view imageFormatName(ImageFormat format) {
    for (const auto& [known, name] : names) {
        if (known == format) {
            return name;
        }
    }
    return {};
}

std::optional<ImageFormat> imageFormatNamed(std::string_view name) {
    for (const auto& [format, known] : names) {
        if (known == name) {
            return format;
        }
    }
    return std::nullopt;
}

} // namespace quillorn
