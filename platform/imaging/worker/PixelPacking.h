#pragma once

#include "platform/imaging/DecodedImage.h"
#include "platform/imaging/worker/Raster.h"

#include <cstdint>

namespace quillorn::worker {

/// Packs pixels as small as a PNG of them would be, or smaller, without loss: what all pixels
/// have in common is left out. Alpha that is opaque everywhere goes, colours that are all grey
/// become grey (unless `keepColours`, for an image whose profile is one of RGB), up to 256
/// different colours become a palette, samples get as few bits as hold them, and what is black
/// and white is coded like a fax when that is smaller.
[[nodiscard]] PackedImage packed(const Raster<std::uint8_t>& raster, bool keepColours);

/// The same for 16 bits; comes down to 8 when the low halves only repeat the high ones.
[[nodiscard]] PackedImage packed(const Raster<std::uint16_t>& raster, bool keepColours);

} // namespace quillorn::worker
