#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace quillorn {

/// Pixels an inch, for each direction of the stored image; 0 where the file does not say.
struct ImageDensity {
    double horizontal = 0;
    double vertical = 0;
    bool operator==(const ImageDensity&) const = default;

    /// Both directions are stated and make sense; files with 0 or nonsense in them are common.
    [[nodiscard]] bool isUsable() const;
};

/// What the header of an image says. Zeros for what it does not.
struct ImageFacts {
    std::uint32_t width = 0;  ///< pixels, as stored: before `orientation`
    std::uint32_t height = 0; ///< pixels, as stored
    int components = 0;       ///< colours and alpha together
    int bitsPerComponent = 0;
    ImageDensity density;
    int orientation = 1; ///< how to turn what is stored: 1 to 8, as in EXIF (and TIFF 6.0)

    [[nodiscard]] bool hasSize() const { return width > 0 && height > 0; }
};

/// The orientation that a file states; 1 (as it is) for anything but 1 to 8.
[[nodiscard]] int sensibleOrientation(std::uint32_t stated);

/// Whether an ICC profile is one for so many colour components: a profile that does not fit its
/// image would turn the image into noise, or the page into an error.
[[nodiscard]] bool isProfileFor(std::span<const char> profile, int components);

} // namespace quillorn
