#include "Photo.h"

#include "Random.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <vector>

#include <jpeglib.h>

namespace bench {

namespace {

constexpr int width = 4000;
constexpr int height = 3000;
constexpr int channels = 3;
constexpr int quality = 92;
/// The picture is a coarse lattice of random colours, blended between its points.
constexpr int latticeStep = 125; // pixels
constexpr int columns = width / latticeStep + 1;
constexpr int rows = height / latticeStep + 1;

using Colour = std::array<int, channels>;

std::vector<Colour> lattice(Random& random) {
    std::vector<Colour> points(static_cast<std::size_t>(columns) * rows);
    for (Colour& point : points) {
        for (int& part : point) {
            part = random.between(20, 235);
        }
    }
    return points;
}

int blended(const std::vector<Colour>& points, int x, int y, std::size_t channel) {
    const auto point = [&](int column, int row) {
        const auto at = static_cast<std::size_t>(std::min(row, rows - 1)) * columns +
                        static_cast<std::size_t>(std::min(column, columns - 1));
        return points[at].at(channel);
    };
    const int column = x / latticeStep;
    const int row = y / latticeStep;
    const int across = x % latticeStep;
    const int down = y % latticeStep;
    const int above = point(column, row) * (latticeStep - across) + point(column + 1, row) * across;
    const int below =
        point(column, row + 1) * (latticeStep - across) + point(column + 1, row + 1) * across;
    return (above * (latticeStep - down) + below * down) / (latticeStep * latticeStep);
}

void fillRow(std::vector<JSAMPLE>& row, const std::vector<Colour>& points, int y, Random& random) {
    for (int x = 0; x < width; ++x) {
        const std::uint64_t draw = random.next();
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const auto noise = static_cast<int>((draw >> (8 * channel)) & 15U) - 7;
            row[static_cast<std::size_t>(x) * channels + channel] = static_cast<JSAMPLE>(
                std::clamp(blended(points, x, y, channel) + noise / 2, 0, 255));
        }
    }
}

} // namespace

void writePhoto(const std::filesystem::path& path, std::uint64_t seed) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"),
                                                               &std::fclose);
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
    Random random(seed);
    const std::vector<Colour> points = lattice(random);
    jpeg_compress_struct job{};
    jpeg_error_mgr errors{};
    job.err = jpeg_std_error(&errors);
    // libjpeg's own handler prints and leaves the program: right for a tool that only makes inputs.
    jpeg_create_compress(&job);
    jpeg_stdio_dest(&job, file.get());
    job.image_width = width;
    job.image_height = height;
    job.input_components = channels;
    job.in_color_space = JCS_RGB;
    jpeg_set_defaults(&job);
    jpeg_set_quality(&job, quality, TRUE);
    job.dct_method = JDCT_ISLOW; // exact on every machine
    jpeg_start_compress(&job, TRUE);
    std::vector<JSAMPLE> row(static_cast<std::size_t>(width) * channels);
    for (int y = 0; y < height; ++y) {
        fillRow(row, points, y, random);
        JSAMPROW start = row.data();
        jpeg_write_scanlines(&job, &start, 1);
    }
    jpeg_finish_compress(&job);
    jpeg_destroy_compress(&job);
}

} // namespace bench
