#pragma once

#include "platform/imaging/ImageFacts.h"

#include <optional>
#include <span>
#include <vector>

namespace quillorn {

/// What a JPEG 2000 file says of itself: the boxes of a JP2 file (ITU-T T.800, annex I) and the
/// size marker of the codestream (annex A).
struct JPEG2000Facts : ImageFacts {
    enum class Colour { unknown, grey, sRGB, profile, other };

    Colour colour = Colour::unknown;
    bool isBareCodestream = false;
    bool hasPalette = false;
    bool hasOtherChannels = false; ///< alpha, or colours in another order than usual
    bool isUniform = true;         ///< all components have the same size and depth, without sign
    bool isComplete = false;       ///< the codestream is there up to its end marker
    std::vector<char> iccProfile;  ///< with Colour::profile

    /// Whether a PDF's JPX filter reads it everywhere (ISO 32000-1, 7.4.9): complete and plain,
    /// grey or RGB, 8 or 16 bits. What has a palette or alpha is drawn differently by viewers.
    [[nodiscard]] bool suitsPDF() const;
};

/// Reads a JP2 file or a bare codestream. None when these bytes are neither.
[[nodiscard]] std::optional<JPEG2000Facts> readJPEG2000Header(std::span<const char> bytes);

/// The boxes that make a JP2 file of a bare codestream when they stand before it, as a PDF
/// wants it. `facts` are those of the codestream, with one or three components.
[[nodiscard]] std::vector<char> jp2BoxesBefore(const JPEG2000Facts& facts);

} // namespace quillorn
