#pragma once

#include <cstdint>
#include <filesystem>

namespace bench {

/// Writes a PDF as a scanner's software makes it: each page one JPEG picture that fills an A4 page,
/// and nothing else.
void writeScans(const std::filesystem::path& path, int pages, bool grey, int quality,
                std::uint64_t seed);

} // namespace bench
