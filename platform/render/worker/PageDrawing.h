#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillorn::render {

/// A page to be drawn into `canvas`, without gaps between the rows, four bytes a pixel.
struct PageDrawing {
    std::uint32_t page = 0;   ///< from 0
    std::uint32_t width = 0;  ///< pixels that the picture may have at most
    std::uint32_t height = 0; ///< pixels that the picture may have at most
    int rotation = 0;         ///< degrees clockwise on top of the page's own
    std::span<std::byte> canvas;
    bool (*isUnwanted)(void*) = nullptr; ///< asked now and then; ends the drawing
};

/// Pixels.
struct PictureSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// The largest picture of a page of `pageWidth` by `pageHeight` that fits into a frame. At least
/// one pixel each way, however thin the page is.
[[nodiscard]] PictureSize fitPicture(double pageWidth, double pageHeight, PictureSize frame);

} // namespace quillorn::render
