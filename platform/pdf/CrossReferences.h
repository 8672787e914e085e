#pragma once

#include "platform/pdf/PDFReader.h"
#include "platform/pdf/RawObjects.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <qpdf/QPDFObjectHandle.hh>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {

/// Finds single objects of a clear document through its cross-references, tables or streams,
/// without making a list of all of them (ISO 32000-1, 7.5.4, 7.5.7 and 7.5.8).
///
/// Takes only what leaves no question open: all references are looked at, and whatever libqpdf
/// would mend or complain of throws std::runtime_error or an exception of libqpdf. What is decoded
/// is charged to the DecodingScope around it. Used by one thread; `input` must live longer.
class CrossReferences {
public:
    explicit CrossReferences(const PDFReaderInput& input);

    /// The newest trailer, or dictionary of a cross-reference stream. References in what this class
    /// returns lead nowhere: `dictionary` follows them.
    [[nodiscard]] QPDFObjectHandle trailer() const { return m_sections.front().trailer; }

    /// The object that `reference` names; it must be a dictionary.
    [[nodiscard]] QPDFObjectHandle dictionary(QPDFObjectHandle reference);

private:
    /// Entries for the object numbers from `first`, one behind the other.
    struct Range {
        std::uint64_t first = 0;
        std::uint64_t count = 0;
        std::uint64_t offset = 0; ///< of the first entry, in the file or in the decoded stream
    };
    /// What one save of the file added.
    struct Section {
        QPDFObjectHandle trailer;
        std::vector<Range> ranges;
        std::vector<std::size_t> widths; ///< bytes of a stream's three fields; none for a table
        std::string entries;             ///< of a stream, decoded
    };
    struct Entry {
        std::uint64_t type = 1;   ///< 0: free, 1: at `second`, 2: in the object stream `second`
        std::uint64_t second = 0; ///< offset, or number of the object stream
        std::uint64_t third = 0;  ///< generation, or position in the object stream
    };

    [[nodiscard]] std::uint64_t startOfNewest() const;
    [[nodiscard]] Section readSection(std::uint64_t offset);
    [[nodiscard]] Section readTable(std::uint64_t offset);
    [[nodiscard]] Section readStream(std::uint64_t offset);
    void checkEntry(const Entry& entry) const;
    [[nodiscard]] static Entry tableEntry(std::string_view line);
    [[nodiscard]] static Entry streamEntry(const Section& section, std::uint64_t offset);
    [[nodiscard]] std::optional<Entry> entryOf(std::uint64_t number) const;
    [[nodiscard]] QPDFObjectHandle objectInStream(std::uint64_t stream, std::uint64_t position,
                                                  std::uint64_t number);

    RawObjects m_objects;
    std::vector<Section> m_sections; ///< newest first
    /// Of the cross-reference streams, which no object may share.
    std::set<std::uint64_t> m_ownNumbers;
    /// Object streams that were needed: their dictionary and their text.
    std::map<std::uint64_t, std::pair<QPDFObjectHandle, std::string>> m_objectStreams;
};

} // namespace quillorn
