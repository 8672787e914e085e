#pragma once

#include <gtest/gtest.h>

#include <cairo.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include <jpeglib.h>

/// Writes a PNG of 4 x 2 pixels: the left half opaque red, the right half half-transparent blue.
inline void WritePNG(const std::string& path) {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 4, 2);
    cairo_t* cairo = cairo_create(surface);
    cairo_set_source_rgba(cairo, 1, 0, 0, 1);
    cairo_rectangle(cairo, 0, 0, 2, 2);
    cairo_fill(cairo);
    cairo_set_source_rgba(cairo, 0, 0, 1, 128.0 / 255);
    cairo_rectangle(cairo, 2, 0, 2, 2);
    cairo_fill(cairo);
    cairo_destroy(cairo);
    EXPECT_EQ(cairo_surface_write_to_png(surface, path.c_str()), CAIRO_STATUS_SUCCESS);
    cairo_surface_destroy(surface);
}

/// Writes a JPEG of 16 x 16 pixels of one colour; its components are 1 (grey), 3 (RGB) or 4 (inks,
/// inverted as Adobe writes them).
inline void WriteJPEG(const std::string& path, const std::vector<unsigned char>& color) {
    constexpr unsigned side = 16;
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    jpeg_compress_struct info = {};
    jpeg_error_mgr errors = {};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file);
    info.image_width = side;
    info.image_height = side;
    info.input_components = static_cast<int>(color.size());
    info.in_color_space = color.size() == 1   ? JCS_GRAYSCALE
                          : color.size() == 3 ? JCS_RGB
                                              : JCS_CMYK;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 100, TRUE);
    jpeg_start_compress(&info, TRUE);
    std::vector<unsigned char> row;
    for (unsigned x = 0; x < side; ++x)
        row.insert(row.end(), color.begin(), color.end());
    JSAMPROW rows[] = {row.data()};
    for (unsigned y = 0; y < side; ++y)
        jpeg_write_scanlines(&info, rows, 1);
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::fclose(file);
}
