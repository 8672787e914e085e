#pragma once

#include "platform/print/PrintInfo.h"

#include <optional>
#include <string>
#include <string_view>

namespace quillorn {

/// Makes up for what the engine cannot do: it prints on paper of whole 1/300 inches, and begins
/// the printed area at a whole pixel (1/96 inch) from the left and upper edge, up to 3/8 of a
/// point off. The area itself has the right size. So the paper's edges are moved about the area:
/// the media boxes in the PDF are replaced by others of the same length in bytes.
///
/// An engine that writes its boxes in another way is left alone; its pages are off by less than
/// half a point then.
class ExactPaper {
public:
    explicit ExactPaper(const PrintInfo& info);

    /// What to ask the engine for; the printed area is that of the original.
    [[nodiscard]] const PrintInfo& request() const { return m_request; }

    /// The PDF's next bytes with the boxes set right. May hold some back for the next call, all
    /// of which the last call gives.
    [[nodiscard]] std::string corrected(std::string_view block, bool isLast);

private:
    /// What belongs in place of a box; nothing when it would not fit or is not the paper's.
    [[nodiscard]] std::optional<std::string> boxInsteadOf(std::string_view box) const;

    PrintInfo m_info;
    PrintInfo m_request;
    std::string m_heldBack;
};

} // namespace quillorn
