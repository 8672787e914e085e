#include "tests/fakes/TestImage.h"

#include "tests/fakes/Program.h"
#include "tests/fakes/RawPDF.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>
#include <limits>
#include <span>
#include <stdexcept>
#include <utility>
#include <zlib.h>

namespace quillorn::tests {

namespace {

std::string pngChunk(const std::string& type, const std::string& content) {
    const std::string summed = type + content;
    const auto sum =
        ::crc32(0, reinterpret_cast<const Bytef*>(summed.data()), static_cast<uInt>(summed.size()));
    return bigEndian(content.size(), 4) + summed + bigEndian(sum, 4);
}

int pngColourType(std::size_t channels) {
    constexpr int types[] = {0, 4, 2, 6};
    return types[channels - 1];
}

/// What libjpeg allocated for its output.
struct JPEGOutput {
    unsigned char* data = nullptr;
    unsigned long size = 0;

    JPEGOutput() = default;
    JPEGOutput(const JPEGOutput&) = delete;
    JPEGOutput& operator=(const JPEGOutput&) = delete;
    ~JPEGOutput() { std::free(data); } // NOLINT: libjpeg's own
};

std::uint8_t rounded(std::size_t part, std::size_t whole) {
    return static_cast<std::uint8_t>(whole > 1 ? part * 255 / (whole - 1) : 0);
}

} // namespace

TestPixels testPicture(std::size_t width, std::size_t height) {
    TestPixels pixels{width, height, 3, {}};
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            pixels.samples.push_back(rounded(x, width));
            pixels.samples.push_back(rounded(y, height));
            pixels.samples.push_back(x < width / 3 && y < height / 3 ? 200 : 20);
        }
    }
    return pixels;
}

TestPixels greyTestPicture(std::size_t width, std::size_t height) {
    TestPixels pixels{width, height, 1, {}};
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            pixels.samples.push_back(
                static_cast<std::uint8_t>((rounded(x, width) + rounded(y, height)) / 2));
        }
    }
    return pixels;
}

TestPixels turned(const TestPixels& pixels, int orientation) {
    const bool isSideways = orientation >= 5;
    TestPixels seen{isSideways ? pixels.height : pixels.width,
                    isSideways ? pixels.width : pixels.height,
                    pixels.channels,
                    {}};
    for (std::size_t y = 0; y < seen.height; ++y) {
        for (std::size_t x = 0; x < seen.width; ++x) {
            const std::size_t fromRight = seen.width - 1 - x;
            const std::size_t fromBottom = seen.height - 1 - y;
            // Which stored column and row stands at (x, y), by what EXIF says of row 0 and column
            // 0.
            const std::pair<std::size_t, std::size_t> stored[] = {
                {x, y}, {fromRight, y}, {fromRight, fromBottom}, {x, fromBottom},
                {y, x}, {y, fromRight}, {fromBottom, fromRight}, {fromBottom, x}};
            const auto [column, row] = stored[orientation - 1];
            for (std::size_t channel = 0; channel < pixels.channels; ++channel) {
                seen.samples.push_back(pixels.at(column, row, channel));
            }
        }
    }
    return seen;
}

Difference differenceOf(const TestPixels& one, const TestPixels& other) {
    if (one.width != other.width || one.height != other.height || one.channels != other.channels ||
        one.samples.size() != other.samples.size() || one.samples.empty()) {
        return {std::numeric_limits<int>::max(), std::numeric_limits<double>::max()};
    }
    Difference difference;
    for (std::size_t i = 0; i < one.samples.size(); ++i) {
        const int apart = std::abs(one.samples[i] - other.samples[i]);
        difference.largest = std::max(difference.largest, apart);
        difference.average += apart;
    }
    difference.average /= static_cast<double>(one.samples.size());
    return difference;
}

TestPNG::TestPNG(std::size_t width, std::size_t height, int bits, int colourType,
                 const std::string& rows)
    : m_width(width), m_height(height), m_bits(bits), m_colourType(colourType) {
    const std::size_t rowBytes = height > 0 ? rows.size() / height : 0;
    for (std::size_t y = 0; y < height; ++y) {
        m_rows += '\0' + rows.substr(y * rowBytes, rowBytes);
    }
}

TestPNG::TestPNG(const TestPixels& pixels)
    : TestPNG(pixels.width, pixels.height, 8, pngColourType(pixels.channels),
              std::string(pixels.samples.begin(), pixels.samples.end())) {}

TestPNG& TestPNG::chunk(const std::string& type, const std::string& content) {
    m_chunks += pngChunk(type, content);
    return *this;
}

std::string TestPNG::bytes() const {
    return "\x89PNG\r\n\x1A\n" +
           pngChunk("IHDR", bigEndian(m_width, 4) + bigEndian(m_height, 4) +
                                static_cast<char>(m_bits) + static_cast<char>(m_colourType) +
                                std::string(3, '\0')) +
           m_chunks + pngChunk("IDAT", deflated(m_rows)) + pngChunk("IEND", "");
}

std::string jpegBytes(const TestPixels& pixels, const TestJPEGOptions& options) {
    jpeg_error_mgr errors{};
    jpeg_compress_struct state{};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    JPEGOutput output;
    jpeg_mem_dest(&state, &output.data, &output.size);
    state.image_width = static_cast<JDIMENSION>(pixels.width);
    state.image_height = static_cast<JDIMENSION>(pixels.height);
    state.input_components = static_cast<int>(pixels.channels);
    state.in_color_space = pixels.channels == 1   ? JCS_GRAYSCALE
                           : pixels.channels == 4 ? JCS_CMYK
                                                  : JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, options.quality, TRUE);
    if (options.storesRGB) {
        jpeg_set_colorspace(&state, JCS_RGB);
    }
    if (pixels.channels == 3) {
        state.comp_info[0].h_samp_factor = 1; // colours as fine as brightness
        state.comp_info[0].v_samp_factor = 1;
    }
    if (!options.writesAdobeMarker) {
        state.write_Adobe_marker = FALSE;
    }
    if (options.isProgressive) {
        jpeg_simple_progression(&state);
    }
    if (options.dotsPerInch > 0) {
        state.density_unit = 1;
        state.X_density = static_cast<UINT16>(options.dotsPerInch);
        state.Y_density = static_cast<UINT16>(options.dotsPerInch);
    }
    jpeg_start_compress(&state, TRUE);
    std::vector<std::uint8_t> row(pixels.width * pixels.channels);
    for (std::size_t y = 0; y < pixels.height; ++y) {
        std::copy_n(pixels.samples.begin() + static_cast<std::ptrdiff_t>(y * row.size()),
                    row.size(), row.begin());
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&state, rows, 1);
    }
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    return std::string(reinterpret_cast<const char*>(output.data), output.size);
}

std::string withSegment(const std::string& jpeg, std::uint8_t marker, const std::string& content) {
    return jpeg.substr(0, 2) + '\xFF' + static_cast<char>(marker) +
           bigEndian(content.size() + 2, 2) + content + jpeg.substr(2);
}

std::string exifContent(int orientation, int dotsPerInch, int unit) {
    const auto entry = [](int tag, int type, std::uint64_t value) {
        return littleEndian(static_cast<std::uint64_t>(tag), 2) +
               littleEndian(static_cast<std::uint64_t>(type), 2) + littleEndian(1, 4) +
               littleEndian(value, 4);
    };
    constexpr std::size_t afterDirectory = 8 + 2 + 4 * 12 + 4;
    std::string directory = littleEndian(dotsPerInch > 0 ? 4 : 1, 2) +
                            entry(274, 3, static_cast<std::uint64_t>(orientation));
    if (dotsPerInch > 0) {
        directory += entry(282, 5, afterDirectory) + entry(283, 5, afterDirectory) +
                     entry(296, 3, static_cast<std::uint64_t>(unit));
    }
    const std::string resolution =
        littleEndian(static_cast<std::uint64_t>(dotsPerInch), 4) + littleEndian(1, 4);
    return std::string("Exif\0\0", 6) + std::string("II*\0", 4) + littleEndian(8, 4) + directory +
           littleEndian(0, 4) + (dotsPerInch > 0 ? resolution : "");
}

std::string hollowProfile(const std::string& space, std::size_t size) {
    std::string profile(size, '\0');
    profile.replace(0, 4, bigEndian(size, 4));
    profile.replace(12, 4, "mntr");
    profile.replace(16, 4, space);
    profile.replace(20, 4, "XYZ ");
    profile.replace(36, 4, "acsp");
    return profile;
}

std::string bigEndian(std::uint64_t number, std::size_t size) {
    std::string bytes = littleEndian(number, size);
    std::ranges::reverse(bytes);
    return bytes;
}

std::string littleEndian(std::uint64_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) {
        bytes += static_cast<char>(number >> (8 * i) & 0xFFU);
    }
    return bytes;
}

void convertImage(const std::filesystem::path& from, const std::filesystem::path& to,
                  const std::vector<std::string>& options) {
    std::vector<std::string> words = {from.string()};
    words.insert(words.end(), options.begin(), options.end());
    words.push_back(to.string());
    const ProgramResult result = Program("convert", words).run();
    if (result.status != 0 || !std::filesystem::exists(to)) {
        throw std::runtime_error("convert cannot make " + to.string() + ": " + result.errors);
    }
}

} // namespace quillorn::tests
