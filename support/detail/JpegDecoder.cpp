#include "support/detail/JpegDecoder.h"

#include <cairo.h>

#include <bit>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <jpeglib.h>

namespace {

// Everything that the decoder's error exit may jump across lives here, so nothing is lost to it.
struct Decoder {
    jpeg_decompress_struct info;
    jpeg_error_mgr errors;
    std::jmp_buf escape;
    cairo_surface_t* surface;
};

[[noreturn]] void Fail(j_common_ptr info) {
    std::longjmp(static_cast<Decoder*>(info->client_data)->escape, 1);
}

void IgnoreMessage(j_common_ptr /*info*/) {}

// Four inks to light. Adobe's files hold the light that is left, others the ink that is put on.
void ConvertFromInks(unsigned char* row, unsigned width, bool inverted) {
    const unsigned flip = inverted ? 0 : 255;
    for (unsigned i = 0; i < width; ++i) {
        unsigned char* pixel = row + size_t{i} * 4;
        const unsigned black = pixel[3] ^ flip;
        const auto light = [&](int ink) { return (pixel[ink] ^ flip) * black / 255; };
        const uint32_t color = light(0) << 16 | light(1) << 8 | light(2);
        std::memcpy(pixel, &color, sizeof color);
    }
}

void ReadRows(Decoder& decoder) {
    jpeg_decompress_struct& info = decoder.info;
    const bool inks = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
    constexpr J_COLOR_SPACE pixelOrder =
        std::endian::native == std::endian::little ? JCS_EXT_BGRX : JCS_EXT_XRGB;
    info.out_color_space = inks ? JCS_CMYK : pixelOrder;
    jpeg_start_decompress(&info);
    decoder.surface =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(info.output_width),
                                   static_cast<int>(info.output_height));
    if (cairo_surface_status(decoder.surface) != CAIRO_STATUS_SUCCESS)
        Fail(reinterpret_cast<j_common_ptr>(&info));
    unsigned char* pixels = cairo_image_surface_get_data(decoder.surface);
    const int stride = cairo_image_surface_get_stride(decoder.surface);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = pixels + static_cast<ptrdiff_t>(info.output_scanline) * stride;
        if (jpeg_read_scanlines(&info, &row, 1) != 1)
            Fail(reinterpret_cast<j_common_ptr>(&info));
        if (inks)
            ConvertFromInks(row, info.output_width, info.saw_Adobe_marker == TRUE);
    }
    jpeg_finish_decompress(&info);
}

} // namespace

_cairo_surface* ASDecodeJpeg(FILE* file) {
    Decoder decoder = {};
    decoder.info.err = jpeg_std_error(&decoder.errors);
    decoder.errors.error_exit = Fail;
    decoder.errors.output_message = IgnoreMessage;
    decoder.info.client_data = &decoder;
    // The decoder reports errors by jumping; no object with a destructor lives in between.
    if (setjmp(decoder.escape) != 0) { // NOLINT(cert-err52-cpp)
        jpeg_destroy_decompress(&decoder.info);
        if (decoder.surface != nullptr)
            cairo_surface_destroy(decoder.surface);
        return nullptr;
    }
    jpeg_create_decompress(&decoder.info);
    jpeg_stdio_src(&decoder.info, file);
    jpeg_read_header(&decoder.info, TRUE);
    ReadRows(decoder);
    cairo_surface_mark_dirty(decoder.surface);
    jpeg_destroy_decompress(&decoder.info);
    return decoder.surface;
}
