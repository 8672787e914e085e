#include "platform/imaging/ImageFacts.h"

#include "platform/imaging/ByteView.h"

#include <string_view>

namespace quillorn {

namespace {

constexpr double smallestDensity = 1;
constexpr double largestDensity = 100'000;

bool isSensible(double density) {
    return density >= smallestDensity && density <= largestDensity; // false for NaN
}

} // namespace

bool ImageDensity::isUsable() const {
    return isSensible(horizontal) && isSensible(vertical);
}

int sensibleOrientation(std::uint32_t stated) {
    constexpr std::uint32_t last = 8;
    return stated >= 1 && stated <= last ? static_cast<int>(stated) : 1;
}

bool isProfileFor(std::span<const char> profile, int components) {
    // ICC.1:2010, 7.2: a header of 128 bytes, the size first, the colour space at 16, "acsp" at 36.
    constexpr std::size_t headerSize = 128;
    constexpr std::size_t spaceOffset = 16;
    constexpr std::size_t markOffset = 36;
    const ByteView view(profile);
    if (view.size() < headerSize || view.u32(0) > view.size() ||
        !view.startsWith("acsp", markOffset)) {
        return false;
    }
    const std::string_view space = components == 1   ? "GRAY"
                                   : components == 3 ? "RGB "
                                   : components == 4 ? "CMYK"
                                                     : "";
    return !space.empty() && view.startsWith(space, spaceOffset);
}

} // namespace quillorn
