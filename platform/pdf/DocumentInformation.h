#pragma once

#include "platform/pdf/CarryContext.h"

#include <cstddef>
#include <map>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>

namespace quillorn {

/// What a document says about itself: the information dictionary and the XMP packet.
///
/// Pages of one source keep all that it says; pages of several make a new document, which is
/// titled after its own name. Either way this program is named as the producer, and both places
/// say the same. A statement to follow PDF/A, PDF/UA or PDF/X is taken back: it was made for
/// the file as it was, and nothing here checks it for the new one.
class DocumentInformation {
public:
    void collect(const CarryContext& context);

    /// Writes the trailer's /Info and the catalogue's /Metadata. `title` is UTF-8.
    void finish(QPDF& output, QPDFObjectHandle catalog, std::size_t sourceCount,
                const std::string& title) const;

private:
    std::map<std::string, QPDFObjectHandle> m_entries; ///< of the only source, in the output
    std::optional<std::string> m_packet;               ///< of the only source
    bool m_anyPacket = false;
};

} // namespace quillorn
