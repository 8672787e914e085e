#pragma once

#include "platform/pdf/CarryContext.h"
#include "platform/pdf/Destinations.h"
#include "platform/pdf/LinkCarrier.h"

#include <cstddef>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>
#include <vector>

namespace quillorn {

/// Collects the outlines of all sources and writes one outline for the output.
///
/// An entry stays when its target page came along, when it leads elsewhere (to the web, say), or
/// when it has entries below it that stay; in that last case it loses its own target. A mere
/// heading, which never had one, stays for the entries below it, or because every page of its
/// document came along. Hierarchy, order, titles, colour, style and whether it is open are kept.
/// When several sources contribute, each gets an entry of its file's name over its own ones.
class OutlineCarrier {
public:
    /// For each source in turn, after its pages were placed.
    void collect(const CarryContext& context, Destinations& destinations, LinkCarrier& links);

    /// The outline's root for the catalogue, or null when no entry stayed.
    /// `flat` leaves the entries of the sources' names out.
    [[nodiscard]] QPDFObjectHandle finish(QPDF& output, bool flat);

private:
    enum class Target { kept, lost, none };
    struct Entry {
        QPDFObjectHandle object;           ///< a dictionary of the output that lacks its neighbours
        std::vector<std::size_t> children; ///< positions in m_entries
        bool open = false;
    };
    struct SourceOutline {
        std::string name;
        QPDFObjectHandle firstPage;
        std::size_t firstOutput = 0;
        std::vector<std::size_t> top;
    };
    struct Frame;

    [[nodiscard]] Frame enter(const CarryContext& context, Destinations& destinations,
                              LinkCarrier& links, QPDFObjectHandle item);
    void close(const CarryContext& context, std::vector<Frame>& open, SourceOutline& outline);
    /// Links the entries under `root` and returns how many of them and below are visible.
    long long linkChildren(QPDF& output, QPDFObjectHandle root,
                           const std::vector<std::size_t>& top);

    std::vector<Entry> m_entries;
    std::vector<SourceOutline> m_outlines;
};

} // namespace quillorn
