#pragma once

#include "import/PDFIntake.h"
#include "platform/imaging/ImageReader.h"
#include "platform/pdf/ImagePage.h"

#include <filesystem>
#include <stop_token>
#include <string>

namespace quillorn {

/// Turns image files into PDF files of one page.
///
/// Each page is 595 x 800 points and shows the image in its middle, at its own size when it is
/// less than 450 points wide and 500 high, else scaled to a width of 500 points, so that a very
/// high one loses its top and bottom. The PDF stands in the cache folder under the image's own
/// name, extension included: that is how the panes know later that a page is an image.
///
/// Any thread, several conversions at once unless they have the same name.
class ImageConverter {
public:
    /// `cacheFolder` exists already.
    ImageConverter(ImageReader reader, std::filesystem::path cacheFolder)
        : m_reader(std::move(reader)), m_cacheFolder(std::move(cacheFolder)) {}

    /// Converts the image at `path` and returns the path of the PDF. An earlier PDF of that name
    /// is replaced. When the conversion fails or is stopped, the folder is as it was.
    [[nodiscard]] ImportResult<std::string> image2PDF(const std::string& path,
                                                      const std::stop_token& stop = {}) const;

private:
    ImageReader m_reader;
    std::filesystem::path m_cacheFolder;
};

/// The size, in points, that an image of this size gets on its page: its own while it is both less
/// than 500 high and less than 450 wide, else 500 wide with its proportions kept. That a width is
/// measured against another number than it is scaled to, and that a narrow image which is too
/// high is scaled to a width as well, is how it is meant.
[[nodiscard]] PDFSize drawnImageSize(const PDFSize& image);

/// Puts an image's page onto the fixed page: sets the media box so that `pdfImage`, the drawn
/// size in points, is in the middle of 595 x 800 points. (Not the 842 of A4.) Works on the page
/// before it is written, so that the file is written once.
void setImageSizeInPDF(PDFImagePage& page, const PDFSize& pdfImage);

} // namespace quillorn
