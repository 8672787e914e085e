#include "platform/pdf/CrossReferences.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <system_error>

namespace quillorn {

using raw::numberOf;
using raw::require;
using raw::skipBlanks;
using raw::skipWord;
using raw::startsWithBlank;
using raw::takeNumber;
using raw::takeObjectNumber;

namespace {

constexpr std::size_t tailLength = 1024; // where readers look for "startxref"
constexpr std::size_t largestObjectStream = 16 << 20;
constexpr std::size_t mostSections = 64; // each saved change of a file adds one
constexpr std::size_t widestField = 8;
constexpr std::uint64_t mostObjects = 8'388'607; // ISO 32000-1, annex C
constexpr std::size_t lineLength = 20;           // of a table's entry
constexpr std::uint64_t linesAtOnce = 3'000;
constexpr std::size_t rangeHeaderLength = 64; // two numbers, and generous blanks

/// The whole of `digits` as a number.
std::uint64_t numberIn(std::string_view digits) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    require(error == std::errc{} && end == digits.data() + digits.size());
    return number;
}

std::size_t sum(const std::vector<std::size_t>& widths) {
    return widths[0] + widths[1] + widths[2];
}

} // namespace

CrossReferences::CrossReferences(const PDFReaderInput& input) : m_objects(input) {
    std::uint64_t offset = startOfNewest();
    std::uint64_t end = 0; // the number behind the last object's
    for (std::set<std::uint64_t> seen;;) {
        require(seen.insert(offset).second && seen.size() <= mostSections);
        m_sections.push_back(readSection(offset));
        Section& section = m_sections.back();
        for (const Range& range : section.ranges) {
            end = std::max(end, range.count == 0 ? 0 : range.first + range.count);
        }
        QPDFObjectHandle previous = section.trailer.getKey("/Prev");
        if (previous.isNull()) {
            break;
        }
        offset = numberOf(previous);
    }
    require(end == numberOf(trailer().getKey("/Size")));
}

std::uint64_t CrossReferences::startOfNewest() const {
    const std::uint64_t size = m_objects.fileSize();
    const std::string tail =
        m_objects.bytesAt(size - std::min<std::uint64_t>(size, tailLength), tailLength);
    const std::size_t mark = tail.rfind("startxref");
    require(mark != std::string::npos);
    std::string_view text = std::string_view(tail).substr(mark);
    require(skipWord(text, "startxref") && startsWithBlank(text)); // else it is a part of a word
    skipBlanks(text);
    const std::uint64_t start = takeNumber(text);
    require(text.starts_with("%%EOF"));
    return start;
}

CrossReferences::Section CrossReferences::readSection(std::uint64_t offset) {
    const bool isTable = m_objects.bytesAt(offset, 4) == "xref";
    Section section = isTable ? readTable(offset) : readStream(offset);
    require(numberOf(section.trailer.getKey("/Size")) <= mostObjects);
    return section;
}

CrossReferences::Section CrossReferences::readTable(std::uint64_t offset) {
    Section section;
    offset += 4;
    for (;;) {
        const std::string bytes = m_objects.bytesAt(offset, rangeHeaderLength);
        const std::size_t start = bytes.find_first_not_of("\r\n ");
        // Something stands between the word, or the last entry, and what comes next.
        require(start != std::string::npos && start > 0);
        const std::string_view text = std::string_view(bytes).substr(start);
        if (text.starts_with("trailer")) {
            section.trailer = m_objects.trailerAt(offset + start);
            break;
        }
        const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
        const std::size_t gap = line.find(' ');
        require(line.size() < text.size() && gap != std::string_view::npos);
        Range range;
        range.first = numberIn(line.substr(0, gap));
        range.count = numberIn(line.substr(gap + 1));
        require(range.first <= mostObjects && range.count <= mostObjects);
        const bool isPair = text.substr(line.size()).starts_with("\r\n");
        range.offset = offset + start + line.size() + (isPair ? 2 : 1);
        for (std::uint64_t done = 0; done < range.count;) {
            const std::uint64_t count = std::min(linesAtOnce, range.count - done);
            const std::string lines =
                m_objects.bytesAt(range.offset + done * lineLength, count * lineLength);
            require(lines.size() == count * lineLength);
            for (std::uint64_t i = 0; i < count; ++i) {
                checkEntry(tableEntry(std::string_view(lines).substr(i * lineLength, lineLength)));
            }
            done += count;
        }
        section.ranges.push_back(range);
        offset = range.offset + range.count * lineLength - 1; // the last entry ends with a blank
    }
    const std::uint64_t size = numberOf(section.trailer.getKey("/Size"));
    for (const Range& range : section.ranges) {
        require(range.first + range.count <= size);
    }
    require(!section.trailer.hasKey("/XRefStm"));
    return section;
}

CrossReferences::Entry CrossReferences::tableEntry(std::string_view line) {
    const char type = line[17];
    const std::string_view end = line.substr(18);
    require(line[10] == ' ' && line[16] == ' ' && (type == 'n' || type == 'f'));
    require(end == " \n" || end == " \r" || end == "\r\n");
    const Entry entry{type == 'n' ? 1U : 0U, numberIn(line.substr(0, 10)),
                      numberIn(line.substr(11, 5))};
    require(entry.type == 0 || entry.second > 0);
    return entry;
}

CrossReferences::Section CrossReferences::readStream(std::uint64_t offset) {
    const RawObjects::Found found = m_objects.objectAt(offset, 0);
    m_ownNumbers.insert(found.number);
    Section section;
    section.trailer = found.dictionary;
    require(section.trailer.isDictionaryOfType("/XRef"));
    const std::uint64_t size = numberOf(section.trailer.getKey("/Size"));

    QPDFObjectHandle widths = section.trailer.getKey("/W");
    require(widths.isArray() && widths.getArrayNItems() == 3);
    for (const QPDFObjectHandle& item : widths.getArrayAsVector()) {
        section.widths.push_back(numberOf(item));
        require(section.widths.back() <= widestField);
    }
    require(section.widths[1] > 0);
    const std::size_t width = sum(section.widths);

    std::uint64_t count = 0;
    const auto addRange = [&](std::uint64_t first, std::uint64_t length) {
        require(first <= size && length <= size - first && length <= mostObjects - count);
        section.ranges.push_back({first, length, count * width});
        count += length;
    };
    QPDFObjectHandle index = section.trailer.getKey("/Index");
    if (index.isNull()) {
        addRange(0, size);
    } else {
        require(index.isArray() && index.getArrayNItems() % 2 == 0);
        const std::vector<QPDFObjectHandle> numbers = index.getArrayAsVector();
        for (std::size_t i = 0; i < numbers.size(); i += 2) {
            addRange(numberOf(numbers[i]), numberOf(numbers[i + 1]));
        }
    }
    section.entries = m_objects.decodedStream(found, count * width);
    require(section.entries.size() == count * width);
    for (std::uint64_t i = 0; i < count; ++i) {
        checkEntry(streamEntry(section, i * width));
    }
    return section;
}

CrossReferences::Entry CrossReferences::streamEntry(const Section& section, std::uint64_t offset) {
    const char* byte = section.entries.data() + offset;
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

void CrossReferences::checkEntry(const Entry& entry) const {
    require(entry.type <= 2 && entry.third <= mostObjects);
    require(entry.type != 1 || entry.second < m_objects.fileSize());
    require(entry.type != 2 || entry.second <= mostObjects);
}

std::optional<CrossReferences::Entry> CrossReferences::entryOf(std::uint64_t number) const {
    require(!m_ownNumbers.contains(number));
    for (const Section& section : m_sections) {
        for (const Range& range : section.ranges) {
            if (number < range.first || number - range.first >= range.count) {
                continue;
            }
            const std::uint64_t position = number - range.first;
            if (section.widths.empty()) {
                return tableEntry(
                    m_objects.bytesAt(range.offset + position * lineLength, lineLength));
            }
            return streamEntry(section, range.offset + position * sum(section.widths));
        }
    }
    return std::nullopt;
}

QPDFObjectHandle CrossReferences::dictionary(QPDFObjectHandle reference) {
    require(reference.isIndirect() && reference.getGeneration() == 0);
    const auto number = static_cast<std::uint64_t>(reference.getObjectID());
    const std::optional<Entry> entry = entryOf(number);
    require(entry && entry->type != 0);
    if (entry->type == 2) {
        return objectInStream(entry->second, entry->third, number);
    }
    require(entry->third == 0);
    const RawObjects::Found found = m_objects.objectAt(entry->second, number);
    require(!found.isStream());
    return found.dictionary;
}

QPDFObjectHandle CrossReferences::objectInStream(std::uint64_t stream, std::uint64_t position,
                                                 std::uint64_t number) {
    if (!m_objectStreams.contains(stream)) {
        const std::optional<Entry> entry = entryOf(stream);
        require(entry && entry->type == 1 && entry->third == 0);
        const RawObjects::Found found = m_objects.objectAt(entry->second, stream);
        require(QPDFObjectHandle(found.dictionary).isDictionaryOfType("/ObjStm"));
        m_objectStreams.try_emplace(stream, found.dictionary,
                                    m_objects.decodedStream(found, largestObjectStream));
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
        const std::uint64_t listed = takeObjectNumber(pairs);
        const std::uint64_t offset = takeObjectNumber(pairs);
        require((listed == number) == (i == position)); // libqpdf takes the last that is listed
        if (i == position) {
            begin = offset;
        } else if (i == position + 1) {
            end = offset;
        }
    }
    require(begin < end && end <= text.size() - first);
    return m_objects.parsed(std::string_view(text).substr(first + begin, end - begin));
}

} // namespace quillorn
