#include "platform/render/worker/JPEGReduction.h"

#include <csetjmp>
#include <cstdio> // jpeglib.h needs it before
#include <jpeglib.h>

namespace quillorn::render {

namespace {

constexpr unsigned wholeScale = 8; // the library counts in eighths
constexpr std::size_t mostSamples = std::size_t{1} << 29U;

struct Failure {
    jpeg_error_mgr manager;
    std::jmp_buf place;
};

[[noreturn]] void fail(j_common_ptr info) {
    // The library's own way of telling; it knows nothing of exceptions.
    std::longjmp(reinterpret_cast<Failure*>(info->err)->place, 1);
}

void saySomething(j_common_ptr /*info*/, int /*level*/) {}

/// The fewest eighths of both sides that leave as many pixels as asked for.
unsigned scaleFor(const jpeg_decompress_struct& info, std::size_t width, std::size_t height) {
    for (unsigned scale = 1; scale < wholeScale; scale *= 2) {
        if (std::size_t{info.image_width} * scale / wholeScale >= width &&
            std::size_t{info.image_height} * scale / wholeScale >= height) {
            return scale;
        }
    }
    return wholeScale;
}

/// Everything between jpeg_create_decompress and jpeg_destroy_decompress. Objects with destructors
/// are the caller's, because the way out may be a jump.
bool decode(jpeg_decompress_struct& info, Failure& failure, std::span<const unsigned char> data,
            std::size_t leastWidth, std::size_t leastHeight, SampleRaster& raster) {
    if (setjmp(failure.place) != 0) { // NOLINT(cert-err52-cpp): see fail()
        return false;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, data.data(), static_cast<unsigned long>(data.size()));
    if (jpeg_read_header(&info, TRUE) != JPEG_HEADER_OK ||
        (info.num_components != 1 && info.num_components != 3)) {
        return false;
    }
    info.scale_num = scaleFor(info, leastWidth, leastHeight);
    info.scale_denom = wholeScale;
    info.dct_method = JDCT_IFAST;
    info.do_fancy_upsampling = FALSE;
    jpeg_start_decompress(&info);
    raster.width = info.output_width;
    raster.height = info.output_height;
    raster.components = static_cast<std::size_t>(info.output_components);
    const std::size_t rowLength = raster.width * raster.components;
    if (rowLength == 0 || raster.height == 0 || raster.height > mostSamples / rowLength ||
        info.output_components != info.num_components) {
        return false;
    }
    raster.samples.resize(rowLength * raster.height);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = raster.samples.data() + info.output_scanline * rowLength;
        jpeg_read_scanlines(&info, &row, 1);
    }
    return true;
}

} // namespace

std::optional<SampleRaster> decodeReduced(std::span<const unsigned char> data,
                                          std::size_t leastWidth, std::size_t leastHeight) {
    SampleRaster raster;
    jpeg_decompress_struct info{};
    Failure failure{};
    info.err = jpeg_std_error(&failure.manager);
    failure.manager.error_exit = fail;
    failure.manager.emit_message = saySomething;
    const bool isDecoded = decode(info, failure, data, leastWidth, leastHeight, raster);
    jpeg_destroy_decompress(&info);
    if (!isDecoded) {
        return std::nullopt;
    }
    return raster;
}

} // namespace quillorn::render
