#pragma once

#include "tests/fakes/TestImage.h"

#include <filesystem>
#include <string>
#include <vector>

namespace quillorn::tests {

// What other programs make of the images in a PDF. All throw std::runtime_error when they cannot
// read it.

/// Every image as pdfimages takes it out: JPEG and JPEG 2000 data as they are in the file.
[[nodiscard]] std::vector<std::string> imageFilesIn(const std::filesystem::path& pdf);

/// The lines that `pdfimages -list` prints, each as its words.
[[nodiscard]] std::vector<std::vector<std::string>> imageListOf(const std::filesystem::path& pdf);

/// The first page as mutool draws it with one pixel a point: an image that lies on whole points
/// and has as many pixels is drawn as it is.
[[nodiscard]] TestPixels drawnPage(const std::filesystem::path& pdf);

/// A part of a picture.
[[nodiscard]] TestPixels cropped(const TestPixels& pixels, std::size_t left, std::size_t top,
                                 std::size_t width, std::size_t height);

/// The picture in an image file, as RGB of 8 bits, as ImageMagick's program reads it; its alpha
/// on white.
[[nodiscard]] TestPixels pictureIn(const std::filesystem::path& file);

} // namespace quillorn::tests
