#include "platform/pdf/ImagePage.h"

#include "platform/files/ReplacementFile.h"
#include "platform/pdf/DecodingBudget.h"
#include "platform/pdf/DrawnPage.h"
#include "platform/pdf/FilePipeline.h"
#include "platform/pdf/PDFReader.h"

#include <array>
#include <cmath>
#include <memory>
#include <optional>
#include <qpdf/Buffer.hh>
#include <qpdf/Pl_Buffer.hh>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFWriter.hh>
#include <qpdf/QUtil.hh>
#include <string>
#include <utility>

namespace quillorn {

namespace {

/// Decimals of a point: finer than any printer, and short enough to be read by people.
constexpr int decimals = 5;

/// The image's unit square on the page, as the six numbers of PDF's `cm`.
using Matrix = std::array<double, 6>;

/// Where the first row and column of an image of `size` points (as it is seen) belong: TIFF 6.0,
/// "Orientation".
Matrix matrixFor(int orientation, const PDFSize& size) {
    const double w = size.width;
    const double h = size.height;
    switch (orientation) {
    case 2:
        return {-w, 0, 0, h, w, 0};
    case 3:
        return {-w, 0, 0, -h, w, h};
    case 4:
        return {w, 0, 0, -h, 0, h};
    case 5:
        return {0, -h, -w, 0, w, h};
    case 6:
        return {0, -h, w, 0, 0, h};
    case 7:
        return {0, h, w, 0, 0, 0};
    case 8:
        return {0, h, -w, 0, w, 0};
    default:
        return {w, 0, 0, h, 0, 0};
    }
}

std::string number(double value) {
    // What rounds to zero from below would be written as "-0".
    const double rounded = std::abs(value) < 0.5e-5 ? 0 : value;
    return QUtil::double_to_string(rounded, decimals, true);
}

QPDFObjectHandle boxArray(const PDFBox& box) {
    QPDFObjectHandle array = QPDFObjectHandle::newArray();
    for (const double edge : {box.left, box.bottom, box.right, box.top}) {
        array.appendItem(QPDFObjectHandle::parse(number(edge)));
    }
    return array;
}

/// A view of the caller's bytes: libqpdf reads a Buffer of this kind and never changes it.
std::shared_ptr<Buffer> bufferOver(std::span<const char> bytes) {
    auto* const data = const_cast<char*>(bytes.data()); // NOLINT(cppcoreguidelines-pro-type-*)
    return std::make_shared<Buffer>(reinterpret_cast<unsigned char*>(data), bytes.size());
}

std::shared_ptr<Buffer> zipped(std::span<const char> bytes) {
    Pl_Buffer result("zipped");
    Pl_Flate flate("flate", &result, Pl_Flate::a_deflate);
    flate.write(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    flate.finish();
    return result.getBufferSharedPointer();
}

QPDFObjectHandle integer(std::uint64_t value) {
    return QPDFObjectHandle::newInteger(static_cast<long long>(value));
}

/// The document that is being made.
class ImageDocument {
public:
    ImageDocument() {
        m_document.emptyPDF();
        m_document.setSuppressWarnings(true);
    }

    void add(const PDFImagePage& page) {
        const std::string matrix = std::holds_alternative<PDFImage>(page.content)
                                       ? placedImage(std::get<PDFImage>(page.content), page)
                                       : placedDrawing(std::get<PDFDrawing>(page.content), page);
        const QPDFObjectHandle contents =
            QPDFObjectHandle::newStream(&m_document, "q " + matrix + " cm /Image Do Q\n");
        QPDFObjectHandle object = QPDFObjectHandle::newDictionary();
        object.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
        object.replaceKey("/MediaBox", boxArray(page.mediaBox));
        object.replaceKey("/Contents", contents);
        object.replaceKey(
            "/Resources",
            QPDFObjectHandle::newDictionary(
                {{"/XObject", QPDFObjectHandle::newDictionary({{"/Image", m_shown}})}}));
        m_document.addPage(m_document.makeIndirectObject(object), false);
    }

    /// Throws WriteFailed and WriteCancelled besides libqpdf's exceptions.
    void write(ReplacementFile& file, const std::stop_token& stop) {
        FilePipeline pipeline(file, stop);
        QPDFWriter writer(m_document);
        writer.setOutputPipeline(&pipeline);
        writer.setMinimumPDFVersion("1.5"); // 16 bits a sample, JPEG 2000
        writer.setDecodeLevel(qpdf_dl_none);
        writer.setCompressStreams(false); // the images are packed, the rest is a line
        writer.registerProgressReporter(std::make_shared<QPDFWriter::FunctionProgressReporter>(
            [&pipeline](int) { pipeline.throwIfEnded(); }));
        writer.write();
        pipeline.throwIfEnded();
    }

private:
    std::string placedImage(const PDFImage& image, const PDFImagePage& page) {
        m_shown = imageObject(image);
        std::string matrix;
        for (const double value : matrixFor(page.orientation, page.imageSize)) {
            matrix += (matrix.empty() ? "" : " ") + number(value);
        }
        return matrix;
    }

    std::string placedDrawing(const PDFDrawing& drawing, const PDFImagePage& page) {
        m_drawing.emplace(m_document, drawing.pdf);
        m_shown = m_drawing->form();
        const PDFBox& box = m_drawing->mediaBox();
        const double across = page.imageSize.width / box.width();
        const double up = page.imageSize.height / box.height();
        // More decimals: these are multiplied by the size of the drawing.
        constexpr int fine = 9;
        return QUtil::double_to_string(across, fine, true) + " 0 0 " +
               QUtil::double_to_string(up, fine, true) + " " + number(-box.left * across) + " " +
               number(-box.bottom * up);
    }

    QPDFObjectHandle stream(const std::shared_ptr<Buffer>& data, const QPDFObjectHandle& filter,
                            const QPDFObjectHandle& parameters = QPDFObjectHandle::newNull()) {
        QPDFObjectHandle result = QPDFObjectHandle::newStream(&m_document);
        result.replaceStreamData(data, filter, parameters);
        return result;
    }

    QPDFObjectHandle imageObject(const PDFImage& image) {
        QPDFObjectHandle result =
            stream(bufferOver(image.data), filterName(image), parametersOf(image));
        QPDFObjectHandle entries = result.getDict();
        entries.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
        entries.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
        entries.replaceKey("/Width", integer(image.width));
        entries.replaceKey("/Height", integer(image.height));
        entries.replaceKey("/ColorSpace", colourSpace(image));
        entries.replaceKey("/BitsPerComponent",
                           QPDFObjectHandle::newInteger(image.bitsPerComponent));
        if (image.isInverted) {
            QPDFObjectHandle decode = QPDFObjectHandle::newArray();
            for (int i = 0; i < image.components; ++i) {
                decode.appendItem(QPDFObjectHandle::newInteger(1));
                decode.appendItem(QPDFObjectHandle::newInteger(0));
            }
            entries.replaceKey("/Decode", decode);
        }
        if (image.softMask != nullptr) {
            entries.replaceKey("/SMask", imageObject(*image.softMask));
        }
        return result;
    }

    static QPDFObjectHandle filterName(const PDFImage& image) {
        switch (image.filter) {
        case PDFImage::Filter::dct:
            return QPDFObjectHandle::newName("/DCTDecode");
        case PDFImage::Filter::jpx:
            return QPDFObjectHandle::newName("/JPXDecode");
        case PDFImage::Filter::faxGroup4:
            return QPDFObjectHandle::newName("/CCITTFaxDecode");
        case PDFImage::Filter::pngRows:
            break;
        }
        return QPDFObjectHandle::newName("/FlateDecode");
    }

    static QPDFObjectHandle parametersOf(const PDFImage& image) {
        QPDFObjectHandle entries = QPDFObjectHandle::newDictionary();
        switch (image.filter) {
        case PDFImage::Filter::dct:
            if (image.coding == PDFImage::ComponentCoding::asMarked) {
                return QPDFObjectHandle::newNull();
            }
            entries.replaceKey("/ColorTransform", integer(0));
            return entries;
        case PDFImage::Filter::jpx:
            return QPDFObjectHandle::newNull();
        case PDFImage::Filter::faxGroup4:
            entries.replaceKey("/K", QPDFObjectHandle::newInteger(-1));
            entries.replaceKey("/Columns", integer(image.width));
            entries.replaceKey("/Rows", integer(image.height));
            return entries;
        case PDFImage::Filter::pngRows:
            break;
        }
        constexpr int anyPNGFilter = 15; // each row says which one
        entries.replaceKey("/Predictor", QPDFObjectHandle::newInteger(anyPNGFilter));
        entries.replaceKey("/Colors", QPDFObjectHandle::newInteger(image.components));
        entries.replaceKey("/BitsPerComponent",
                           QPDFObjectHandle::newInteger(image.bitsPerComponent));
        entries.replaceKey("/Columns", integer(image.width));
        return entries;
    }

    QPDFObjectHandle colourSpace(const PDFImage& image) {
        const QPDFObjectHandle base = baseSpace(image);
        if (image.palette.empty()) {
            return base;
        }
        const std::string colours(image.palette.begin(), image.palette.end());
        return QPDFObjectHandle::newArray({QPDFObjectHandle::newName("/Indexed"), base,
                                           integer(image.palette.size() / 3 - 1),
                                           QPDFObjectHandle::newString(colours)});
    }

    QPDFObjectHandle baseSpace(const PDFImage& image) {
        const int components = image.palette.empty() ? image.components : 3;
        const QPDFObjectHandle device = QPDFObjectHandle::newName(components == 1   ? "/DeviceGray"
                                                                  : components == 4 ? "/DeviceCMYK"
                                                                                    : "/DeviceRGB");
        if (image.iccProfile.empty()) {
            return device;
        }
        QPDFObjectHandle profile =
            stream(zipped(image.iccProfile), QPDFObjectHandle::newName("/FlateDecode"));
        profile.getDict().replaceKey("/N", QPDFObjectHandle::newInteger(components));
        profile.getDict().replaceKey("/Alternate", device);
        return QPDFObjectHandle::newArray({QPDFObjectHandle::newName("/ICCBased"), profile});
    }

    std::optional<DrawnPage> m_drawing; ///< read from until the output is written
    QPDF m_document;
    QPDFObjectHandle m_shown;
};

} // namespace

PDFResult<void> writeImagePage(const PDFImagePage& page, const std::filesystem::path& target,
                               const std::stop_token& stop) {
    auto file = ReplacementFile::create(target);
    if (!file) {
        return tl::unexpected(PDFError::cannotWrite(file.error()));
    }
    const auto* drawing = std::get_if<PDFDrawing>(&page.content);
    const PDFError::Kind kind =
        drawing != nullptr ? PDFError::Kind::notPDF : PDFError::Kind::cannotWrite;
    DecodingBudget budget(0); // neither images nor drawings are unpacked
    auto written = guardLibrary(kind, target, budget, [&]() -> PDFResult<void> {
        ImageDocument document;
        document.add(page);
        try {
            document.write(*file, stop);
        } catch (const WriteCancelled&) {
            return tl::unexpected(PDFError{PDFError::Kind::cancelled, target, "cancelled"});
        } catch (const WriteFailed& failure) {
            return tl::unexpected(PDFError::cannotWrite(failure.error()));
        }
        return {};
    });
    if (!written) {
        return written;
    }
    if (auto committed = file->commit(); !committed) {
        return tl::unexpected(PDFError::cannotWrite(committed.error()));
    }
    return {};
}

} // namespace quillorn
