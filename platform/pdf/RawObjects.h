#pragma once

#include "platform/pdf/PDFReader.h"

#include <cstddef>
#include <cstdint>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quillorn {

/// Reads single objects of a clear document from where they stand in the file.
///
/// Takes only what leaves no question open; whatever is not exactly as the format has it throws
/// std::runtime_error or an exception of libqpdf. References in what is read lead nowhere. What is
/// decoded is charged to the DecodingScope around it. Used by one thread; `input` must live longer.
class RawObjects {
public:
    explicit RawObjects(const PDFReaderInput& input);

    struct Found {
        QPDFObjectHandle dictionary;
        std::uint64_t dataOffset = 0; ///< of a stream's data; 0 without one
        std::uint64_t number = 0;

        [[nodiscard]] bool isStream() const { return dataOffset > 0; }
    };
    /// The dictionary or stream at `offset`, of object `number` or, when that is 0, of any.
    [[nodiscard]] Found objectAt(std::uint64_t offset, std::uint64_t number);

    /// The dictionary behind the word "trailer", which `offset` must lead to.
    [[nodiscard]] QPDFObjectHandle trailerAt(std::uint64_t offset);

    /// At most `limit` bytes.
    [[nodiscard]] std::string decodedStream(const Found& stream, std::size_t limit);

    /// Fewer than `length` where the file ends.
    [[nodiscard]] std::string bytesAt(std::uint64_t offset, std::size_t length) const;

    /// `text` must be a dictionary and nothing else.
    [[nodiscard]] QPDFObjectHandle parsed(std::string_view text);

    [[nodiscard]] std::uint64_t fileSize() const { return m_input.size; }

private:
    const PDFReaderInput& m_input;
    QPDF m_context; ///< owns what is parsed
};

/// The words that objects are made of, taken from the front of a text.
namespace raw {

inline constexpr std::string_view blanks{"\0\t\n\f\r ", 6};

/// Throws std::runtime_error when `condition` does not hold.
inline void require(bool condition) {
    if (!condition) {
        throw std::runtime_error("the file is unusual");
    }
}

void skipBlanks(std::string_view& text);
[[nodiscard]] bool startsWithBlank(std::string_view text);
/// Whether `word` was there.
[[nodiscard]] bool skipWord(std::string_view& text, std::string_view word);
/// A whole number, which a blank must follow; blanks behind it are taken, too.
[[nodiscard]] std::uint64_t takeNumber(std::string_view& text);
/// The same of an object, or of a place among packed ones. libqpdf keeps both in an int, and
/// refuses what is larger.
[[nodiscard]] std::uint64_t takeObjectNumber(std::string_view& text);
/// A direct whole number that is not negative.
[[nodiscard]] std::uint64_t numberOf(QPDFObjectHandle value);

} // namespace raw

} // namespace quillorn
