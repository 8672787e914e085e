#pragma once

#include "tests/fakes/RawPDF.h"

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// A document of one page, 345 points wide, whose objects 1 (catalogue), 2 (page tree) and 3 (page)
/// stand in the object stream 10, packed in some way.
class PackedPDF {
public:
    using Encode = std::function<std::string(const std::string&)>;

    /// The filters by name, and what they undo.
    explicit PackedPDF(std::string filters = "/FlateDecode", Encode encode = deflated)
        : m_filters(std::move(filters)), m_encode(std::move(encode)) {}

    /// More entries of the object stream.
    PackedPDF& parameters(const std::string& entries);
    PackedPDF& pageEntries(const std::string& entries);
    /// Objects 4 and so on, in the same stream, which itself has the number 10.
    PackedPDF& object(const std::string& body);
    /// Spaces behind the objects.
    PackedPDF& padding(std::size_t bytes);

    [[nodiscard]] RawPDF pdf() const;

private:
    std::string m_filters;
    Encode m_encode;
    std::string m_parameters;
    std::string m_pageEntries;
    std::vector<std::string> m_objects;
    std::size_t m_padding = 0;
};

[[nodiscard]] std::string twiceDeflated(const std::string& data);

/// An array of so many bytes, which costs a reader a hundred times as much memory and more.
[[nodiscard]] std::string arrayOfIntegers(std::size_t bytes);

/// A file of some hundred bytes whose cross-reference stream unpacks to so many.
[[nodiscard]] std::string pdfOfCrossReferences(std::size_t bytes);

} // namespace quillorn::tests
