#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/pdf/PDFReader.h"

#include <cstdint>
#include <map>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillorn {

/// Finds single objects of a clear document through its cross-reference streams, without a table of
/// all of them (ISO 32000-1, 7.5.7 and 7.5.8).
///
/// Takes only what leaves no question open. Whatever is missing, overlaps, or is not exactly as
/// long as it says throws std::runtime_error or an exception of libqpdf. What it reads is charged
/// to the DecodingScope around it. Used by one thread.
class CrossReferenceStreams {
public:
    /// Reads all of the file's cross-reference streams, newest first.
    explicit CrossReferenceStreams(const PDFReaderInput& input);

    /// The dictionary of the newest one. References in what this class returns lead nowhere:
    /// `object` follows them.
    [[nodiscard]] QPDFObjectHandle trailer() const { return m_sections.front().dictionary; }

    /// The object that `reference` names; it must be a dictionary.
    [[nodiscard]] QPDFObjectHandle dictionary(QPDFObjectHandle reference);

private:
    /// One stream: entries for the object numbers of some ranges, one behind the other.
    struct Section {
        QPDFObjectHandle dictionary;
        std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges; ///< first number, how many
        std::vector<std::size_t> widths;                             ///< bytes of the three fields
        std::string entries;
    };
    struct Entry {
        std::uint64_t type = 1;
        std::uint64_t second = 0;
        std::uint64_t third = 0;
    };
    /// An object as it stands in the file.
    struct Found {
        QPDFObjectHandle dictionary;
        std::uint64_t dataOffset = 0; ///< of a stream's data; 0 without one
        std::uint64_t number = 0;
    };

    void readSections();
    [[nodiscard]] Section readSection(std::uint64_t offset);
    void checkSections() const;
    [[nodiscard]] static Entry entryAt(const Section& section, std::uint64_t position);
    [[nodiscard]] std::optional<Entry> entryOf(std::uint64_t number) const;
    /// The dictionary at `offset`, which must be of object `number`, or of any when 0.
    [[nodiscard]] Found objectAt(std::uint64_t offset, std::uint64_t number);
    [[nodiscard]] QPDFObjectHandle objectInStream(std::uint64_t stream, std::uint64_t position,
                                                  std::uint64_t number);
    [[nodiscard]] std::string decodedStream(const Found& stream, std::size_t limit);
    [[nodiscard]] std::string bytesAt(std::uint64_t offset, std::size_t length) const;
    [[nodiscard]] QPDFObjectHandle parsed(std::string_view text);

    const PDFReaderInput& m_input;
    QPDF m_context; ///< owns what is parsed
    std::vector<Section> m_sections;
    std::set<std::uint64_t>
        m_ownNumbers; ///< of the cross-reference streams, which nothing refers to
    std::map<std::uint64_t, std::pair<QPDFObjectHandle, std::string>> m_objectStreams; ///< decoded
};

} // namespace quillorn
