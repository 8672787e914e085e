#include "import/ImageConverter.h"

#include "model/FileNames.h"

#include <optional>
#include <utility>
#include <variant>
#include <vector>

namespace quillorn {

namespace {

using Kind = ImportRefusal::Kind;

// All in points.
constexpr double pageWidth = 595;
constexpr double pageHeight = 800;
constexpr double keptBelowHeight = 500;
constexpr double keptBelowWidth = 450;
constexpr double scaledWidth = 500;

PDFImage pdfImageOf(const JPEGImage& image) {
    PDFImage result;
    result.filter = PDFImage::Filter::dct;
    result.width = image.facts.width;
    result.height = image.facts.height;
    result.components = image.facts.components;
    result.bitsPerComponent = image.facts.bitsPerComponent;
    // Whoever writes Adobe's marker into CMYK writes the colours inverted, as Photoshop does.
    result.isInverted = image.facts.components == 4 &&
                        image.facts.adobeTransform != JPEGFacts::AdobeTransform::none;
    result.coding = image.facts.namesRGB ? PDFImage::ComponentCoding::plain
                                         : PDFImage::ComponentCoding::asMarked;
    result.data = image.data;
    result.iccProfile = image.facts.iccProfile;
    return result;
}

PDFImage pdfImageOf(const JPEG2000Image& image) {
    PDFImage result;
    result.filter = PDFImage::Filter::jpx;
    result.width = image.facts.width;
    result.height = image.facts.height;
    result.components = image.facts.components;
    result.bitsPerComponent = image.facts.bitsPerComponent;
    result.data = image.data;
    result.iccProfile = image.facts.iccProfile;
    return result;
}

PDFImage pdfImageOf(const PackedImage& image, const PackedPlane& plane) {
    PDFImage result;
    result.filter = plane.coding == PackedPlane::Coding::group4 ? PDFImage::Filter::faxGroup4
                                                                : PDFImage::Filter::pngRows;
    result.width = image.width;
    result.height = image.height;
    result.components = plane.components;
    result.bitsPerComponent = plane.bitsPerComponent;
    result.data = plane.data;
    return result;
}

/// What the page shows of an image that outlives it. The alpha stays in here.
class Content {
public:
    explicit Content(const ReadImage& image) {
        std::visit([this](const auto& content) { take(content); }, image.content);
    }
    Content(const Content&) = delete;
    Content& operator=(const Content&) = delete;
    ~Content() = default;
    [[nodiscard]] const std::variant<PDFImage, PDFDrawing>& get() const { return m_content; }

private:
    void take(const JPEGImage& image) { m_content = pdfImageOf(image); }
    void take(const JPEG2000Image& image) { m_content = pdfImageOf(image); }
    void take(const VectorImage& image) { m_content = PDFDrawing{image.pdf}; }
    void take(const PackedImage& image) {
        PDFImage colours = pdfImageOf(image, image.colours);
        colours.palette = image.palette;
        colours.iccProfile = image.iccProfile;
        if (image.alpha) {
            m_mask = pdfImageOf(image, *image.alpha);
            colours.softMask = &m_mask;
        }
        m_content = colours;
    }

    PDFImage m_mask;
    std::variant<PDFImage, PDFDrawing> m_content;
};

} // namespace

PDFSize drawnImageSize(const PDFSize& image) {
    if (image.height < keptBelowHeight && image.width < keptBelowWidth) {
        return image;
    }
    const double ratio = image.width / scaledWidth;
    return PDFSize{image.width / ratio, image.height / ratio};
}

void setImageSizeInPDF(PDFImagePage& page, const PDFSize& pdfImage) {
    const double left = (pageWidth - pdfImage.width) / -2;
    const double bottom = (pageHeight - pdfImage.height) / -2;
    page.mediaBox = PDFBox{left, bottom, left + pageWidth, bottom + pageHeight};
}

ImportResult<std::string> ImageConverter::image2PDF(const std::string& path,
                                                    const std::stop_token& stop) const {
    const auto image = m_reader.read(path, stop);
    if (!image) {
        return tl::unexpected(ImportRefusal::make(Kind::notLegal, path, image.error().reason));
    }
    const Content content(*image);
    PDFImagePage page;
    page.content = content.get();
    page.orientation = image->orientation;
    page.imageSize = drawnImageSize(PDFSize{image->width, image->height});
    setImageSizeInPDF(page, page.imageSize);
    const std::filesystem::path target = m_cacheFolder / lastPathComponent(path);
    if (const auto written = writeImagePage(page, target, stop); !written) {
        return tl::unexpected(ImportRefusal::make(Kind::notLegal, path, written.error().reason));
    }
    return target.string();
}

} // namespace quillorn
