#include "platform/pdf/RawObjects.h"

#include "platform/pdf/BoundedData.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <system_error>

namespace quillorn {

namespace raw {

void skipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
}

bool startsWithBlank(std::string_view text) {
    return !text.empty() && blanks.find(text.front()) != std::string_view::npos;
}

bool skipWord(std::string_view& text, std::string_view word) {
    if (!text.starts_with(word)) {
        return false;
    }
    text.remove_prefix(word.size());
    return true;
}

std::uint64_t takeNumber(std::string_view& text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    require(error == std::errc{});
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    require(startsWithBlank(text));
    skipBlanks(text);
    return number;
}

std::uint64_t takeObjectNumber(std::string_view& text) {
    const std::uint64_t number = takeNumber(text);
    require(number <= std::numeric_limits<int>::max());
    return number;
}

std::uint64_t numberOf(QPDFObjectHandle value) {
    require(!value.isIndirect() && value.isInteger() && value.getIntValue() >= 0);
    return static_cast<std::uint64_t>(value.getIntValue());
}

} // namespace raw

using raw::require;
using raw::skipBlanks;
using raw::skipWord;
using raw::startsWithBlank;
using raw::takeNumber;
using raw::takeObjectNumber;

namespace {

constexpr std::size_t dictionaryLength = 4096;     // read at first
constexpr std::size_t longestDictionary = 8 << 20; // a page tree without inner nodes is one
constexpr std::size_t endLength = 32;              // of what follows a stream's data, at first
constexpr std::size_t longestEnd = 64U << 10U;

/// Whether an object ends here: with the word for it, a blank, and more of the file behind that.
/// libqpdf refuses an object that nothing follows.
bool endsObject(std::string_view text) {
    if (!skipWord(text, "endobj") || !startsWithBlank(text)) {
        return false;
    }
    skipBlanks(text);
    return !text.empty();
}

} // namespace

RawObjects::RawObjects(const PDFReaderInput& input) : m_input(input) {
    m_context.setSuppressWarnings(true);
    m_context.emptyPDF();
}

std::string RawObjects::bytesAt(std::uint64_t offset, std::size_t length) const {
    require(offset < m_input.size);
    std::string bytes(std::min<std::uint64_t>(length, m_input.size - offset), '\0');
    const auto got = readAt(*m_input.descriptor, m_input.path, bytes, offset);
    require(got && *got == bytes.size());
    return bytes;
}

QPDFObjectHandle RawObjects::parsed(std::string_view text) {
    QPDFObjectHandle object = QPDFObjectHandle::parse(&m_context, std::string(text));
    require(!m_context.anyWarnings() && object.isDictionary());
    return object;
}

RawObjects::Found RawObjects::objectAt(std::uint64_t offset, std::uint64_t number) {
    for (std::size_t length = dictionaryLength;; length *= 8) {
        require(length <= longestDictionary);
        const std::string bytes = bytesAt(offset, length);
        std::string_view text = bytes;
        const std::uint64_t found = takeObjectNumber(text);
        require(found > 0 && (number == 0 || found == number));
        require(takeNumber(text) == 0 && skipWord(text, "obj"));

        // Where these words stand in a string of the dictionary, what comes before does not parse.
        const std::size_t end = std::min(text.find("stream"), text.find("endobj"));
        if (end == std::string_view::npos) {
            require(bytes.size() == length); // else the file ends here
            continue;
        }
        Found object{parsed(text.substr(0, end)), 0, found};
        text.remove_prefix(end);
        if (skipWord(text, "stream")) {
            if (text.size() < 2) {
                continue;
            }
            require(skipWord(text, "\r\n") || skipWord(text, "\n"));
            object.dataOffset = offset + static_cast<std::uint64_t>(text.data() - bytes.data());
        } else if (!endsObject(text)) {
            require(bytes.size() == length); // else the file ends with it
            continue;
        }
        return object;
    }
}

QPDFObjectHandle RawObjects::trailerAt(std::uint64_t offset) {
    const std::string bytes = bytesAt(offset, dictionaryLength);
    std::string_view text = bytes;
    require(skipWord(text, "trailer"));
    const std::size_t end = text.find("startxref");
    require(end != std::string_view::npos);
    return parsed(text.substr(0, end));
}

std::string RawObjects::decodedStream(const Found& stream, std::size_t limit) {
    require(stream.dataOffset > 0);
    QPDFObjectHandle dictionary = stream.dictionary;
    const std::uint64_t length = raw::numberOf(dictionary.getKey("/Length"));
    require(length <= m_input.size - stream.dataOffset);
    require(!dictionary.hasKey("/F"));

    std::string bytes;
    for (std::size_t beyond = endLength;; beyond *= 8) {
        bytes = bytesAt(stream.dataOffset, length + beyond);
        std::string_view end = std::string_view(bytes).substr(std::min(length, bytes.size()));
        skipBlanks(end);
        require(skipWord(end, "endstream") && startsWithBlank(end));
        skipBlanks(end);
        if (endsObject(end)) {
            break;
        }
        // Behind the references of a linearized file stand blanks in reserve.
        require(beyond < longestEnd && bytes.size() == length + beyond);
    }
    bytes.resize(length);
    QPDFObjectHandle data = QPDFObjectHandle::newStream(&m_context, bytes);
    for (const char* key : {"/Filter", "/DecodeParms"}) {
        data.getDict().replaceKey(key, dictionary.getKey(key));
    }
    std::optional<std::string> decoded = decodedData(data, limit);
    require(decoded.has_value() && !m_context.anyWarnings());
    return std::move(*decoded);
}

} // namespace quillorn
