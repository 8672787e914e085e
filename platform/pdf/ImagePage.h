#pragma once

#include "platform/pdf/PDFError.h"
#include "platform/pdf/PDFGeometry.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <stop_token>
#include <variant>

namespace quillorn {

/// An image as a PDF holds it: samples that one of the PDF's own filters unpacks. The bytes belong
/// to the caller and stay where they are until the page is written.
struct PDFImage {
    enum class Filter {
        dct,       ///< a JPEG file
        jpx,       ///< a JP2 file
        pngRows,   ///< Flate around rows with PNG filters
        faxGroup4, ///< one bit a pixel; 0 is black
    };
    /// What a JPEG's three components are where its own markers do not say.
    enum class ComponentCoding { asMarked, plain };

    Filter filter = Filter::pngRows;
    std::uint32_t width = 0;  ///< samples a row
    std::uint32_t height = 0; ///< rows
    int components = 3;       ///< 1 grey, 3 RGB, 4 CMYK; with a palette 1
    int bitsPerComponent = 8;
    bool isInverted = false; ///< the largest value stands for none of the colour
    ComponentCoding coding = ComponentCoding::asMarked;
    std::span<const char> data;
    std::span<const char> palette;      ///< red, green, blue of each colour; empty for none
    std::span<const char> iccProfile;   ///< fits the components, or the palette; empty for none
    const PDFImage* softMask = nullptr; ///< grey; 0 is transparent. Not owned
};

/// A page of another PDF, drawn instead of an image: the first page of these bytes.
struct PDFDrawing {
    std::span<const char> pdf;
};

/// A document of one page that shows an image. The image lies at the origin of the page's user
/// space; the media box is the part of that space which is the page.
struct PDFImagePage {
    std::variant<PDFImage, PDFDrawing> content;
    int orientation = 1; ///< how the image's rows and columns are turned, 1 to 8 as in EXIF
    PDFSize imageSize;   ///< of the image once turned, in points
    PDFBox mediaBox;     ///< in points
};

/// Writes the document; a file of that name is replaced only by a complete one. What is part of
/// an image file goes into the PDF byte for byte.
///
/// Errors: cannotWrite, cancelled, tooLarge, and notPDF for a drawing that is none.
[[nodiscard]] PDFResult<void> writeImagePage(const PDFImagePage& page,
                                             const std::filesystem::path& target,
                                             const std::stop_token& stop = {});

} // namespace quillorn
