#pragma once

#include "platform/print/WebContent.h"

namespace quillorn {

/// Whether a page may hold a script, another document in a frame, or a lead to another page. Only
/// where this says no is it the same with scripts switched off: it tells by words, some of which
/// may be innocent, and gives long pages and other kinds than HTML no look.
[[nodiscard]] bool mayHoldScripts(const WebResource& page);

} // namespace quillorn
