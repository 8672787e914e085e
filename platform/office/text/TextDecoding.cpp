#include "platform/office/text/TextDecoding.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <uchardet/uchardet.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>
#include <unicode/utf8.h>

namespace quillorn::text {

namespace {

using namespace std::string_view_literals;

constexpr const char* fallbackEncoding = "windows-1252";

/// The statistics do not get better with more.
constexpr std::size_t bytesForDetection = std::size_t{256} << 10U;
/// Of the bytes before the first one that tells something.
constexpr std::size_t bytesBefore = 256;

/// A text has fewer control characters than one in so many.
constexpr std::size_t charactersForEachControl = 20;

constexpr char16_t lineFeed = u'\n';

struct Mark {
    std::string_view bytes;
    const char* encoding;
};

/// More broken letters than one in so many: it is another encoding.
constexpr std::size_t lettersForEachBroken = 16;

/// The longer ones first where one begins like another.
constexpr std::array<Mark, 5> marks = {{{"\xEF\xBB\xBF"sv, "UTF-8"},
                                        {"\xFF\xFE\0\0"sv, "UTF-32LE"},
                                        {"\0\0\xFE\xFF"sv, "UTF-32BE"},
                                        {"\xFF\xFE"sv, "UTF-16LE"},
                                        {"\xFE\xFF"sv, "UTF-16BE"}}};

/// Letters of other encodings hardly ever form those of UTF-8. So bytes are that also where some
/// letters are broken, as in a file that was cut.
bool isUTF8(std::string_view bytes) {
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return false;
    }
    const auto size = static_cast<std::int32_t>(bytes.size());
    const auto* const start = reinterpret_cast<const std::uint8_t*>(bytes.data());
    std::size_t letters = 0;
    std::size_t broken = 0;
    for (std::int32_t i = 0; i < size;) {
        if (start[i] < 0x80U) {
            ++i;
            continue;
        }
        UChar32 letter = 0;
        U8_NEXT(start, i, size, letter);
        ++(letter < 0 ? broken : letters);
    }
    return broken * lettersForEachBroken <= letters;
}

/// Latin letters, blanks and line ends in UTF-16 have a null in one half of the places.
const char* unmarkedUTF16(std::string_view bytes) {
    const std::string_view start = bytes.substr(0, bytesForDetection);
    std::array<std::size_t, 2> nulls = {0, 0};
    for (std::size_t i = 0; i < start.size(); ++i) {
        if (start[i] == '\0') {
            ++nulls[i % 2];
        }
    }
    const std::size_t many = start.size() / 8;
    if (nulls[1] > many && nulls[0] * 16 < nulls[1]) {
        return "UTF-16LE";
    }
    return nulls[0] > many && nulls[1] * 16 < nulls[0] ? "UTF-16BE" : nullptr;
}

/// Japanese mail switches between alphabets by escape sequences of ASCII characters.
bool hasEscapes(std::string_view bytes) {
    return bytes.find("\x1B$") != std::string_view::npos;
}

std::string detected(std::string_view bytes) {
    const auto telling = std::ranges::find_if(bytes, [](char byte) {
        return static_cast<unsigned char>(byte) >= 0x80U || byte == '\x1B';
    });
    const auto position = static_cast<std::size_t>(telling - bytes.begin());
    const std::string_view part =
        bytes.substr(position - std::min(position, bytesBefore), bytesForDetection);
    const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector(uchardet_new(),
                                                                         &uchardet_delete);
    if (!detector || uchardet_handle_data(detector.get(), part.data(), part.size()) != 0) {
        return {};
    }
    uchardet_data_end(detector.get());
    return uchardet_get_charset(detector.get());
}

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

Converter converterFor(const std::string& encoding) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(encoding.c_str(), &status), &ucnv_close);
    if (U_FAILURE(status)) {
        converter.reset();
    }
    return converter;
}

/// The bytes after a mark, if there is one.
std::string_view withoutMark(std::string_view bytes) {
    for (const Mark& mark : marks) {
        if (bytes.starts_with(mark.bytes)) {
            bytes.remove_prefix(mark.bytes.size());
            break;
        }
    }
    return bytes;
}

/// What ICU does by itself with bytes that an encoding does not know depends on the encoding: for
/// some it is a control character, which nobody would see.
void replaceBroken(const void* /*context*/, UConverterToUnicodeArgs* arguments,
                   const char* /*bytes*/, std::int32_t /*length*/, UConverterCallbackReason reason,
                   UErrorCode* status) {
    if (reason > UCNV_IRREGULAR) {
        return; // no letter, but the converter is reset, cloned or closed
    }
    constexpr UChar replacement = u'\uFFFD';
    *status = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(arguments, &replacement, 1, 0, status);
}

std::u16string converted(std::string_view bytes, const std::string& encoding) {
    const Converter converter = converterFor(encoding);
    std::u16string text;
    if (!converter) {
        return text;
    }
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter.get(), &replaceBroken, nullptr, nullptr, nullptr, &status);
    // Piece by piece, so that no length has to fit into 32 bits.
    std::array<UChar, 1U << 13U> block{};
    const char* from = bytes.data();
    const char* const end = from + bytes.size();
    status = U_BUFFER_OVERFLOW_ERROR;
    while (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        UChar* to = block.data();
        ucnv_toUnicode(converter.get(), &to, block.data() + block.size(), &from, end, nullptr, 1,
                       &status);
        text.append(block.data(), static_cast<std::size_t>(to - block.data()));
    }
    return text;
}

bool isLineEnd(char16_t character) {
    return character == lineFeed || character == u'\r' || character == u'\v' ||
           character == u'\u0085' || character == u'\u2028' || character == u'\u2029';
}

bool isControl(char16_t character) {
    return character < u' ' || (character >= u'\u007F' && character < u'\u00A0');
}

/// Brings line ends into one form and takes other control characters out. Returns how many.
std::size_t tidy(std::u16string& text) {
    std::size_t controls = 0;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t character = text[i];
        if (character == u'\r' && i + 1 < text.size() && text[i + 1] == lineFeed) {
            continue;
        }
        if (isLineEnd(character)) {
            text[kept++] = lineFeed;
        } else if (!isControl(character) || character == u'\t' || character == u'\f') {
            text[kept++] = character;
        } else if (character != u'\x1A' || i + 1 != text.size()) { // once the mark of an end
            ++controls;
        }
    }
    text.resize(kept);
    return controls;
}

} // namespace

std::string encodingOf(std::string_view bytes) {
    for (const Mark& mark : marks) {
        if (bytes.starts_with(mark.bytes)) {
            return mark.encoding;
        }
    }
    if (const char* const wide = unmarkedUTF16(bytes)) {
        return wide;
    }
    if (isUTF8(bytes) && !hasEscapes(bytes)) {
        return "UTF-8";
    }
    std::string encoding = detected(bytes);
    // Whoever says Latin-1 means what Windows made of it, as everywhere.
    if (encoding == "ISO-8859-1" || encoding == "ASCII") {
        encoding = fallbackEncoding;
    }
    return converterFor(encoding) && !encoding.empty() ? encoding : fallbackEncoding;
}

tl::expected<std::u16string, std::string> decodedText(std::string_view bytes) {
    if (bytes.empty()) {
        return tl::unexpected(std::string("it is empty"));
    }
    if (bytes.starts_with("%PDF-")) {
        return tl::unexpected(std::string("it is a PDF by another name"));
    }
    std::u16string text = converted(withoutMark(bytes), encodingOf(bytes));
    const std::size_t before = text.size();
    const std::size_t controls = tidy(text);
    if (controls * charactersForEachControl > before) {
        return tl::unexpected(std::string("it is no text"));
    }
    return text;
}

} // namespace quillorn::text
