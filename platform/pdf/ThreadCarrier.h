#pragma once

#include "platform/pdf/CarryContext.h"

#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Carries article threads (ISO 32000-1, 12.4.3): the beads on pages that stay are chained
/// anew, in the thread's own order, before the pages are copied; threads without such a bead go.
class ThreadCarrier {
public:
    /// Before the pages of a source are copied.
    void prepare(const CarryContext& context);
    /// After they were placed.
    void collect(const CarryContext& context);
    /// The catalogue's /Threads, or null.
    [[nodiscard]] QPDFObjectHandle finish() const;

private:
    std::vector<QPDFObjectHandle> m_current; ///< threads of the source whose turn it is
    std::vector<QPDFObjectHandle> m_threads; ///< threads of the output
};

} // namespace quillorn
