#include "platform/imaging/worker/PixelPacking.h"

#include "platform/imaging/worker/RowPacking.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace quillorn::worker {

namespace {

constexpr std::size_t mostColours = 256;
constexpr int bitsPerByte = 8;

/// The fewest bits, as image files have them, that count to so many.
int bitsFor(std::size_t values) {
    return values <= 2 ? 1 : values <= 4 ? 2 : values <= 16 ? 4 : bitsPerByte;
}

std::size_t bytesPerRow(std::uint32_t width, std::size_t components, int bits) {
    return (std::size_t{width} * components * static_cast<std::size_t>(bits) + 7) / bitsPerByte;
}

/// One value a pixel, put side by side in `bits` each; every row begins a new byte.
PlainRows bitRows(const std::vector<std::uint8_t>& values, std::uint32_t width, int bits) {
    PlainRows rows;
    rows.rowBytes = bytesPerRow(width, 1, bits);
    rows.hasWholeSamples = false;
    const std::size_t height = values.size() / width;
    rows.bytes.resize(rows.rowBytes * height);
    const auto perByte = static_cast<std::size_t>(bitsPerByte / bits);
    for (std::size_t row = 0; row < height; ++row) {
        const std::uint8_t* const from = values.data() + row * width;
        std::uint8_t* const to = rows.bytes.data() + row * rows.rowBytes;
        for (std::size_t i = 0; i < width; ++i) {
            const auto shift = static_cast<unsigned>(bitsPerByte - bits) -
                               static_cast<unsigned>(i % perByte) * static_cast<unsigned>(bits);
            to[i / perByte] = static_cast<std::uint8_t>(to[i / perByte] | from[i] << shift);
        }
    }
    return rows;
}

PackedPlane planeOf(const PlainRows& rows, int components, int bits) {
    return PackedPlane{PackedPlane::Coding::pngRows, components, bits, packedRows(rows)};
}

PackedPlane bilevelPlane(const PlainRows& rows, std::uint32_t width) {
    PackedPlane plane = planeOf(rows, 1, 1);
    std::vector<char> fax = faxed(rows, width);
    if (!fax.empty() && fax.size() < plane.data.size()) {
        plane.coding = PackedPlane::Coding::group4;
        plane.data = std::move(fax);
    }
    return plane;
}

/// The bits that hold every value of a grey plane exactly: 2 bits hold 0, 85, 170 and 255.
int greyBits(const std::vector<std::uint8_t>& values) {
    std::array<bool, mostColours> used{};
    for (const std::uint8_t value : values) {
        used[value] = true;
    }
    for (const int bits : {1, 2, 4}) {
        const std::size_t step =
            (mostColours - 1) / ((std::size_t{1} << static_cast<unsigned>(bits)) - 1);
        bool fits = true;
        for (std::size_t value = 0; value < used.size(); ++value) {
            fits = fits && (!used[value] || value % step == 0);
        }
        if (fits) {
            return bits;
        }
    }
    return bitsPerByte;
}

/// A grey or alpha plane of 8 bits in as few bits as it needs.
PackedPlane greyPlane(std::vector<std::uint8_t> values, std::uint32_t width) {
    const int bits = greyBits(values);
    if (bits == bitsPerByte) {
        return planeOf(PlainRows{width, 1, true, std::move(values)}, 1, bits);
    }
    for (std::uint8_t& value : values) {
        value = static_cast<std::uint8_t>(value >> static_cast<unsigned>(bitsPerByte - bits));
    }
    const PlainRows rows = bitRows(values, width, bits);
    return bits == 1 ? bilevelPlane(rows, width) : planeOf(rows, 1, bits);
}

struct Palette {
    std::vector<char> colours;
    std::vector<std::uint8_t> indexes;
};

/// Colours of one to three components as a palette, if they are few enough.
std::optional<Palette> paletteOf(const std::vector<std::uint8_t>& samples, std::size_t components) {
    Palette palette;
    palette.indexes.reserve(samples.size() / components);
    std::unordered_map<std::uint32_t, std::uint8_t> known;
    std::uint32_t last = 0;
    std::uint8_t lastIndex = 0;
    for (std::size_t at = 0; at < samples.size(); at += components) {
        const std::uint32_t red = samples[at];
        const std::uint32_t green = components == 3 ? samples[at + 1] : red;
        const std::uint32_t blue = components == 3 ? samples[at + 2] : red;
        const std::uint32_t colour = red << 16U | green << 8U | blue;
        if (palette.indexes.empty() || colour != last) {
            const auto [place, isNew] =
                known.try_emplace(colour, static_cast<std::uint8_t>(known.size()));
            if (isNew) {
                if (known.size() > mostColours) {
                    return std::nullopt;
                }
                for (const std::uint32_t part : {red, green, blue}) {
                    palette.colours.push_back(static_cast<char>(part));
                }
            }
            last = colour;
            lastIndex = place->second;
        }
        palette.indexes.push_back(lastIndex);
    }
    return palette;
}

/// `components` of each pixel from the `first` on, out of `stride`.
template <class Sample>
std::vector<Sample> channelsOf(const Raster<Sample>& raster, std::size_t first,
                               std::size_t components) {
    std::vector<Sample> out(raster.pixels() * components);
    const std::size_t stride = raster.channels();
    std::size_t to = 0;
    for (std::size_t at = first; at < raster.samples.size(); at += stride) {
        for (std::size_t i = 0; i < components; ++i) {
            out[to++] = raster.samples[at + i];
        }
    }
    return out;
}

template <class Sample>
bool isGreyOnly(const Raster<Sample>& raster) {
    const std::size_t stride = raster.channels();
    for (std::size_t at = 0; at < raster.samples.size(); at += stride) {
        if (raster.samples[at] != raster.samples[at + 1] ||
            raster.samples[at] != raster.samples[at + 2]) {
            return false;
        }
    }
    return true;
}

template <class Sample>
bool isOpaque(const Raster<Sample>& raster) {
    for (std::size_t at = raster.colours; at < raster.samples.size(); at += raster.channels()) {
        if (raster.samples[at] != std::numeric_limits<Sample>::max()) {
            return false;
        }
    }
    return true;
}

PlainRows wideRows(const std::vector<std::uint16_t>& samples, std::uint32_t width,
                   std::size_t components) {
    PlainRows rows{std::size_t{width} * components * 2, components * 2, true, {}};
    rows.bytes.resize(samples.size() * 2);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        rows.bytes[2 * i] = static_cast<std::uint8_t>(samples[i] >> 8U);
        rows.bytes[2 * i + 1] = static_cast<std::uint8_t>(samples[i] & 0xFFU);
    }
    return rows;
}

PackedImage coloursOf(const Raster<std::uint8_t>& raster, bool keepColours) {
    PackedImage image;
    image.width = raster.width;
    image.height = raster.height;
    const bool isGrey =
        raster.colours == 1 || (raster.colours == 3 && !keepColours && isGreyOnly(raster));
    if (raster.colours == 4) {
        image.colours = planeOf(
            PlainRows{std::size_t{raster.width} * 4, 4, true, channelsOf(raster, 0, 4)}, 4, 8);
        return image;
    }
    std::vector<std::uint8_t> samples = channelsOf(raster, 0, isGrey ? 1 : 3);
    if (isGrey && greyBits(samples) < bitsPerByte) {
        image.colours = greyPlane(std::move(samples), raster.width);
        return image;
    }
    auto palette = paletteOf(samples, isGrey ? 1 : 3);
    const int bits = palette ? bitsFor(palette->colours.size() / 3) : bitsPerByte;
    if (palette && (!isGrey || bits < bitsPerByte)) {
        image.colours = planeOf(bitRows(palette->indexes, raster.width, bits), 1, bits);
        image.palette = std::move(palette->colours);
    } else if (isGrey) {
        image.colours = greyPlane(std::move(samples), raster.width);
    } else {
        image.colours = planeOf(
            PlainRows{std::size_t{raster.width} * 3, 3, true, std::move(samples)}, 3, bitsPerByte);
    }
    return image;
}

/// The high bytes, where the low ones say nothing more.
std::optional<Raster<std::uint8_t>> narrowed(const Raster<std::uint16_t>& raster) {
    const bool fits = std::ranges::all_of(
        raster.samples, [](std::uint16_t sample) { return (sample >> 8U) == (sample & 0xFFU); });
    if (!fits) {
        return std::nullopt;
    }
    Raster<std::uint8_t> narrow{raster.width, raster.height, raster.colours, raster.hasAlpha, {}};
    narrow.samples.resize(raster.samples.size());
    std::ranges::transform(raster.samples, narrow.samples.begin(), [](std::uint16_t sample) {
        return static_cast<std::uint8_t>(sample >> 8U);
    });
    return narrow;
}

} // namespace

PackedImage packed(const Raster<std::uint8_t>& raster, bool keepColours) {
    PackedImage image = coloursOf(raster, keepColours);
    if (raster.hasAlpha && !isOpaque(raster)) {
        image.alpha = greyPlane(channelsOf(raster, raster.colours, 1), raster.width);
    }
    return image;
}

PackedImage packed(const Raster<std::uint16_t>& raster, bool keepColours) {
    constexpr int wideBits = 16;
    if (const auto narrow = narrowed(raster)) {
        return packed(*narrow, keepColours);
    }
    PackedImage image;
    image.width = raster.width;
    image.height = raster.height;
    const std::size_t components =
        raster.colours == 3 && !keepColours && isGreyOnly(raster) ? 1 : raster.colours;
    image.colours = planeOf(wideRows(channelsOf(raster, 0, components), raster.width, components),
                            static_cast<int>(components), wideBits);
    if (raster.hasAlpha && !isOpaque(raster)) {
        image.alpha =
            planeOf(wideRows(channelsOf(raster, raster.colours, 1), raster.width, 1), 1, wideBits);
    }
    return image;
}

} // namespace quillorn::worker
