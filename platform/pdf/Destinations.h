#pragma once

#include "platform/pdf/SourcePages.h"

#include <cstddef>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>
#include <unordered_map>
#include <vector>

namespace quillorn {

/// Resolves the destinations of one source (ISO 32000-1, 12.3.2): explicit ones, names in the
/// catalogue's dictionary, and names in the name tree. Names are collected when the first is
/// asked for.
class Destinations {
public:
    struct Destination {
        std::size_t page;                   ///< index in the source
        std::vector<QPDFObjectHandle> view; ///< "/XYZ left top zoom" and the like; direct scalars
    };

    Destinations(QPDF& source, const SourcePages& pages) : m_source(source), m_pages(pages) {}

    /// Nothing when the destination leads to no page of the document.
    [[nodiscard]] std::optional<Destination> resolve(QPDFObjectHandle destination);

    /// An explicit destination array for the source document.
    [[nodiscard]] QPDFObjectHandle explicitArray(const Destination& destination) const;

private:
    [[nodiscard]] QPDFObjectHandle named(const std::string& name);

    QPDF& m_source;
    const SourcePages& m_pages;
    std::optional<std::unordered_map<std::string, QPDFObjectHandle>> m_names;
};

} // namespace quillorn
