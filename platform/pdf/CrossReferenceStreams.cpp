#include "platform/pdf/CrossReferenceStreams.h"

#include "platform/pdf/BoundedData.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <stdexcept>

namespace quillorn {

namespace {

constexpr std::size_t tailLength = 1024;           // where readers look for "startxref"
constexpr std::size_t dictionaryLength = 4096;     // read at first
constexpr std::size_t longestDictionary = 8 << 20; // a page tree without inner nodes is one
constexpr std::size_t largestObjectStream = 16 << 20;
constexpr std::size_t endLength = 32;    // of what follows a stream's data
constexpr std::size_t mostSections = 64; // each saved change of a file adds one
constexpr std::size_t widestField = 8;
constexpr std::uint64_t mostObjects = 8'388'607; // ISO 32000-1, annex C
constexpr std::string_view blanks{"\0\t\n\f\r ", 6};

void require(bool condition) {
    if (!condition) {
        throw std::runtime_error("the cross-reference streams are unusual");
    }
}

void skipBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
}

bool skipWord(std::string_view& text, std::string_view word) {
    if (!text.starts_with(word)) {
        return false;
    }
    text.remove_prefix(word.size());
    return true;
}

/// The number that `text` begins with, which must be followed by a blank.
std::uint64_t takeNumber(std::string_view& text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    require(error == std::errc{});
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    require(!text.empty() && blanks.find(text.front()) != std::string_view::npos);
    skipBlanks(text);
    return number;
}

std::uint64_t numberOf(QPDFObjectHandle value) {
    require(!value.isIndirect() && value.isInteger() && value.getIntValue() >= 0);
    return static_cast<std::uint64_t>(value.getIntValue());
}

} // namespace

CrossReferenceStreams::CrossReferenceStreams(const PDFReaderInput& input) : m_input(input) {
    m_context.setSuppressWarnings(true);
    m_context.emptyPDF();
    readSections();
    checkSections();
}

std::string CrossReferenceStreams::bytesAt(std::uint64_t offset, std::size_t length) const {
    require(offset < m_input.size);
    std::string bytes(std::min<std::uint64_t>(length, m_input.size - offset), '\0');
    const auto got = readAt(*m_input.descriptor, m_input.path, bytes, offset);
    require(got && *got == bytes.size());
    return bytes;
}

QPDFObjectHandle CrossReferenceStreams::parsed(std::string_view text) {
    QPDFObjectHandle object = QPDFObjectHandle::parse(&m_context, std::string(text));
    require(!m_context.anyWarnings() && object.isDictionary());
    return object;
}

void CrossReferenceStreams::readSections() {
    const std::uint64_t tailOffset =
        m_input.size - std::min<std::uint64_t>(m_input.size, tailLength);
    const std::string tail = bytesAt(tailOffset, tailLength);
    const std::size_t mark = tail.rfind("startxref");
    require(mark != std::string::npos);
    std::string_view text = std::string_view(tail).substr(mark);
    skipWord(text, "startxref");
    skipBlanks(text);
    std::uint64_t offset = takeNumber(text);
    require(text.starts_with("%%EOF"));

    std::set<std::uint64_t> seen;
    for (;;) {
        require(seen.insert(offset).second && seen.size() <= mostSections);
        m_sections.push_back(readSection(offset));
        QPDFObjectHandle previous = m_sections.back().dictionary.getKey("/Prev");
        if (previous.isNull()) {
            break;
        }
        offset = numberOf(previous);
    }
}

CrossReferenceStreams::Section CrossReferenceStreams::readSection(std::uint64_t offset) {
    const Found found = objectAt(offset, 0);
    m_ownNumbers.insert(found.number);
    Section section;
    section.dictionary = found.dictionary;
    require(section.dictionary.isDictionaryOfType("/XRef"));
    const std::uint64_t size = numberOf(section.dictionary.getKey("/Size"));
    require(size <= mostObjects);

    QPDFObjectHandle widths = section.dictionary.getKey("/W");
    require(widths.isArray() && widths.getArrayNItems() == 3);
    std::size_t width = 0;
    for (const QPDFObjectHandle& item : widths.getArrayAsVector()) {
        const std::uint64_t bytes = numberOf(item);
        require(bytes <= widestField);
        section.widths.push_back(bytes);
        width += bytes;
    }
    require(section.widths[1] > 0);

    QPDFObjectHandle index = section.dictionary.getKey("/Index");
    if (index.isNull()) {
        section.ranges.emplace_back(0, size);
    } else {
        require(index.isArray() && index.getArrayNItems() % 2 == 0);
        const std::vector<QPDFObjectHandle> numbers = index.getArrayAsVector();
        for (std::size_t i = 0; i < numbers.size(); i += 2) {
            section.ranges.emplace_back(numberOf(numbers[i]), numberOf(numbers[i + 1]));
        }
    }
    std::uint64_t count = 0;
    for (const auto& [first, length] : section.ranges) {
        require(first <= size && length <= size - first);
        count += length;
    }
    require(count <= mostObjects);
    section.entries = decodedStream(found, count * width);
    require(section.entries.size() == count * width);
    return section;
}

/// What libqpdf would mend or complain of while it makes its table.
void CrossReferenceStreams::checkSections() const {
    std::uint64_t end = 0;
    for (const Section& section : m_sections) {
        for (const auto& [first, length] : section.ranges) {
            end = std::max(end, length == 0 ? 0 : first + length);
        }
        const std::size_t width = section.widths[0] + section.widths[1] + section.widths[2];
        for (std::uint64_t i = 0; i * width < section.entries.size(); ++i) {
            const Entry entry = entryAt(section, i);
            require(entry.type <= 2 && entry.third <= mostObjects);
            require(entry.type != 1 || entry.second < m_input.size);
            require(entry.type != 2 || entry.second <= mostObjects);
        }
    }
    require(end == numberOf(trailer().getKey("/Size")));
}

CrossReferenceStreams::Entry CrossReferenceStreams::entryAt(const Section& section,
                                                            std::uint64_t position) {
    const std::size_t width = section.widths[0] + section.widths[1] + section.widths[2];
    const char* byte = section.entries.data() + position * width;
    Entry entry;
    std::uint64_t* const fields[] = {&entry.type, &entry.second, &entry.third};
    for (std::size_t field = 0; field < 3; ++field) {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < section.widths[field]; ++i) {
            value = (value << 8U) | static_cast<unsigned char>(*byte++);
        }
        if (section.widths[field] > 0) {
            *fields[field] = value;
        }
    }
    return entry;
}

std::optional<CrossReferenceStreams::Entry>
CrossReferenceStreams::entryOf(std::uint64_t number) const {
    require(!m_ownNumbers.contains(number));
    for (const Section& section : m_sections) {
        std::uint64_t position = 0;
        for (const auto& [first, length] : section.ranges) {
            if (number >= first && number - first < length) {
                return entryAt(section, position + (number - first));
            }
            position += length;
        }
    }
    return std::nullopt;
}

CrossReferenceStreams::Found CrossReferenceStreams::objectAt(std::uint64_t offset,
                                                             std::uint64_t number) {
    for (std::size_t length = dictionaryLength;; length *= 8) {
        require(length <= longestDictionary);
        const std::string bytes = bytesAt(offset, length);
        std::string_view text = bytes;
        const std::uint64_t found = takeNumber(text);
        require(found == number || (number == 0 && found > 0));
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
        }
        return object;
    }
}

std::string CrossReferenceStreams::decodedStream(const Found& stream, std::size_t limit) {
    require(stream.dataOffset > 0);
    QPDFObjectHandle dictionary = stream.dictionary;
    const std::uint64_t length = numberOf(dictionary.getKey("/Length"));
    require(length <= m_input.size - stream.dataOffset);
    require(!dictionary.hasKey("/F"));

    std::string bytes = bytesAt(stream.dataOffset, length + endLength);
    std::string_view end = std::string_view(bytes).substr(std::min(length, bytes.size()));
    for (const std::string_view word : {"endstream", "endobj"}) {
        skipBlanks(end);
        require(skipWord(end, word));
        require(end.empty() || blanks.find(end.front()) != std::string_view::npos);
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

QPDFObjectHandle CrossReferenceStreams::dictionary(QPDFObjectHandle reference) {
    require(reference.isIndirect() && reference.getGeneration() == 0);
    const auto number = static_cast<std::uint64_t>(reference.getObjectID());
    const std::optional<Entry> entry = entryOf(number);
    require(entry && entry->type != 0);
    if (entry->type == 2) {
        return objectInStream(entry->second, entry->third, number);
    }
    require(entry->third == 0);
    return objectAt(entry->second, number).dictionary;
}

QPDFObjectHandle CrossReferenceStreams::objectInStream(std::uint64_t stream, std::uint64_t position,
                                                       std::uint64_t number) {
    if (!m_objectStreams.contains(stream)) {
        const std::optional<Entry> entry = entryOf(stream);
        require(entry && entry->type == 1 && entry->third == 0);
        const Found found = objectAt(entry->second, stream);
        QPDFObjectHandle dictionary = found.dictionary;
        require(dictionary.isDictionaryOfType("/ObjStm"));
        m_objectStreams.try_emplace(stream, found.dictionary,
                                    decodedStream(found, largestObjectStream));
    }
    auto& [dictionary, text] = m_objectStreams.at(stream);
    const std::uint64_t count = numberOf(dictionary.getKey("/N"));
    const std::uint64_t first = numberOf(dictionary.getKey("/First"));
    require(position < count && first <= text.size());

    std::string_view pairs = std::string_view(text).substr(0, first);
    skipBlanks(pairs);
    std::uint64_t begin = 0;
    std::uint64_t end = text.size() - first; // the last object's
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t listed = takeNumber(pairs);
        const std::uint64_t offset = takeNumber(pairs);
        if (i == position) {
            require(listed == number);
            begin = offset;
        } else if (i == position + 1) {
            end = offset;
            break;
        }
    }
    require(begin < end && end <= text.size() - first);
    return parsed(std::string_view(text).substr(first + begin, end - begin));
}

} // namespace quillorn
