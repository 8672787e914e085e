#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/imaging/DecodedImage.h"
#include "platform/imaging/ImageError.h"
#include "platform/imaging/ImageFormat.h"
#include "platform/imaging/ImageLimits.h"
#include "platform/imaging/JPEG2000Header.h"
#include "platform/imaging/JPEGHeader.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <stop_token>
#include <variant>
#include <vector>

namespace quillorn {

/// A JPEG file that needs no decoding to become part of a PDF.
struct JPEGImage {
    JPEGFacts facts;
    std::vector<char> data; ///< the file
};

/// The same for JPEG 2000.
struct JPEG2000Image {
    JPEG2000Facts facts;
    std::vector<char> data; ///< a JP2 file
};

/// An image as it was read, not yet turned as `orientation` says.
struct ReadImage {
    ImageFormat format = ImageFormat::jpeg;
    int orientation = 1; ///< 1 to 8, as in EXIF
    double width = 0;    ///< points, once turned: 72 pixels an inch where the file says nothing
    double height = 0;   ///< points, once turned
    std::variant<JPEGImage, JPEG2000Image, PackedImage, VectorImage> content;
};

/// The format of the file at `path`, by its first bytes; none for what is no image or cannot
/// be read.
[[nodiscard]] std::optional<ImageFormat> imageFormatOf(const std::filesystem::path& path);

/// Reads images of every format of ImageFormat, the first picture of files with several.
///
/// What this process does itself is little: it reads headers, and takes JPEG, JPEG 2000 and PNG
/// data over as they are where a PDF can hold them. Everything else is decoded by worker processes
/// (WorkerProcess.h), first by the one with Qt's readers, then by the one with ImageMagick,
/// or the other way round where a format is known to be read better so.
///
/// Any thread, several at once.
class ImageReader {
public:
    /// `workerFolder` holds the workers' programs.
    explicit ImageReader(std::filesystem::path workerFolder, ImageLimits limits = {});

    /// `stop` ends a decoding.
    [[nodiscard]] ImageResult<ReadImage> read(const std::filesystem::path& path,
                                              const std::stop_token& stop = {}) const;

private:
    struct File;

    ImageResult<ReadImage> readAs(ImageFormat format, File& file) const;
    ImageResult<ReadImage> readJPEG(File& file) const;
    ImageResult<ReadImage> readJPEG2000(File& file) const;
    ImageResult<ReadImage> readPNG(File& file) const;
    ImageResult<ReadImage> readTIFF(File& file) const;
    ImageResult<ReadImage> readICNS(File& file) const;
    ImageResult<ReadImage> decode(ImageFormat format, const ImageFacts& facts, File& file,
                                  bool qtFirst = true) const;

    std::filesystem::path m_workerFolder;
    ImageLimits m_limits;
};

} // namespace quillorn
