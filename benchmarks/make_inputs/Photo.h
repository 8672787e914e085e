#pragma once

#include <cstdint>
#include <filesystem>

namespace bench {

/// Writes a JPEG of 4000 x 3000 pixels as a camera makes it: soft shapes of many colours with the
/// noise of a sensor, quality 92, chroma at half the resolution, about 1.4 MB.
void writePhoto(const std::filesystem::path& path, std::uint64_t seed);

} // namespace bench
