#pragma once

#include "platform/imaging/ImageFacts.h"

#include <optional>
#include <span>

namespace quillorn {

/// What the first directory of a TIFF file, or of EXIF data (which is one), says.
struct TIFFFacts : ImageFacts {
    int photometric = -1; ///< TIFF 6.0, "PhotometricInterpretation"; -1 where it is missing
    int sampleFormat = 1; ///< 1 for unsigned integers
};

/// Reads the first directory, of BigTIFF files too. None when these bytes are no TIFF. Never
/// follows a chain: the number of steps is bounded by the directory's own count.
[[nodiscard]] std::optional<TIFFFacts> readTIFFHeader(std::span<const char> bytes);

} // namespace quillorn
