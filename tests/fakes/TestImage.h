#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn::tests {

/// Pixels row by row from the top, `channels` samples of 8 bits each.
struct TestPixels {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t channels = 3;
    std::vector<std::uint8_t> samples;

    [[nodiscard]] std::uint8_t at(std::size_t x, std::size_t y, std::size_t channel) const {
        return samples.at((y * width + x) * channels + channel);
    }
    bool operator==(const TestPixels&) const = default;
};

/// A picture whose corners differ: red grows to the right, green downwards, blue in a corner.
[[nodiscard]] TestPixels testPicture(std::size_t width, std::size_t height);
/// The same in one channel.
[[nodiscard]] TestPixels greyTestPicture(std::size_t width, std::size_t height);

/// `pixels` as they are seen when they are stored with an orientation of 1 to 8 as in EXIF.
[[nodiscard]] TestPixels turned(const TestPixels& pixels, int orientation);

/// The largest and the average difference between two pictures of the same size; very large when
/// their sizes differ.
struct Difference {
    int largest = 0;
    double average = 0;
};
[[nodiscard]] Difference differenceOf(const TestPixels& one, const TestPixels& other);

/// A PNG file put together chunk by chunk.
class TestPNG {
public:
    /// `colourType` as PNG numbers it; `rows` are the packed samples without filters.
    TestPNG(std::size_t width, std::size_t height, int bits, int colourType,
            const std::string& rows);
    /// Of 8 bits a sample, with as many channels as the pixels have (1 to 4).
    explicit TestPNG(const TestPixels& pixels);

    /// Before the image data.
    TestPNG& chunk(const std::string& type, const std::string& content);
    [[nodiscard]] std::string bytes() const;

private:
    std::size_t m_width;
    std::size_t m_height;
    int m_bits;
    int m_colourType;
    std::string m_rows;
    std::string m_chunks;
};

struct TestJPEGOptions {
    int quality = 95;
    bool isProgressive = false;
    bool writesAdobeMarker = true; ///< with four channels only, as libjpeg does by itself
    bool storesRGB = false;        ///< three channels without conversion
    int dotsPerInch = 0;           ///< in the JFIF header; 0 for none
};

/// A JPEG file of 1, 3 or 4 channels; four are CMYK, written as they are.
[[nodiscard]] std::string jpegBytes(const TestPixels& pixels, const TestJPEGOptions& options = {});

/// The JPEG file with one more segment at its start: `marker` is e.g. 0xE1.
[[nodiscard]] std::string withSegment(const std::string& jpeg, std::uint8_t marker,
                                      const std::string& content);

/// The content of an EXIF segment. A resolution of 0 is left out.
[[nodiscard]] std::string exifContent(int orientation, int dotsPerInch = 0, int unit = 2);

/// An ICC profile that says it is for this colour space ("RGB ", "GRAY", "CMYK"), and nothing else.
[[nodiscard]] std::string hollowProfile(const std::string& space, std::size_t size = 200);

/// A number as bytes, the first one the highest, and the other way round.
[[nodiscard]] std::string bigEndian(std::uint64_t number, std::size_t size);
[[nodiscard]] std::string littleEndian(std::uint64_t number, std::size_t size);

/// Writes a file through ImageMagick's program, whose format is that of the target's name. Throws
/// std::runtime_error on failure.
void convertImage(const std::filesystem::path& from, const std::filesystem::path& to,
                  const std::vector<std::string>& options = {});

} // namespace quillorn::tests
