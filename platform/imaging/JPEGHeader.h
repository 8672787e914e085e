#pragma once

#include "platform/imaging/ImageFacts.h"

#include <optional>
#include <span>
#include <vector>

namespace quillorn {

/// What a JPEG file says of itself, from a walk over its markers (ITU-T T.81, annex B).
struct JPEGFacts : ImageFacts {
    enum class Process { none, baseline, extended, progressive, other };

    /// How the colours are coded where an Adobe marker says so.
    enum class AdobeTransform { none, plain, yCbCr, ycck };

    Process process = Process::none; ///< "other": lossless, hierarchical or arithmetic coding
    AdobeTransform adobeTransform = AdobeTransform::none;
    bool namesRGB = false;   ///< three components called R, G and B and no JFIF or Adobe marker
    bool isComplete = false; ///< has image data and an end of image behind it
    std::vector<char> iccProfile; ///< whole and fit for the components, or empty

    /// Whether a PDF's DCT filter reads it as it is (ISO 32000-1, 7.4.8): complete, Huffman coded,
    /// 8 bits, one, three or four components.
    [[nodiscard]] bool suitsPDF() const;
};

/// Reads the markers up to the end of the image; whatever follows it (further pictures, trailers)
/// is left alone. None when these bytes do not begin like a JPEG or no frame is found.
[[nodiscard]] std::optional<JPEGFacts> readJPEGHeader(std::span<const char> bytes);

} // namespace quillorn
