#include "platform/render/worker/RenderedDocument.h"

#include "platform/render/RenderProtocol.h"
#include "platform/render/worker/ScanPage.h"

#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <poppler/PDFDoc.h>
#include <poppler/Page.h>
#include <poppler/SplashOutputDev.h>
#include <poppler/Stream.h>
#include <poppler/goo/GooString.h>
#include <poppler/goo/gfile.h>
#include <poppler/splash/SplashBitmap.h>
#include <unistd.h>
#include <utility>

namespace quillorn::render {

namespace {

constexpr double pointsAnInch = 72;
constexpr double thinnestPage = 0.5; // points; what is thinner shows nothing

bool isThin(double width, double height) {
    // Written so that what is no number is thin as well.
    return !(width >= thinnestPage && height >= thinnestPage);
}

/// Null when it cannot be opened.
std::unique_ptr<PDFDoc> openWith(GooFile& file, std::uint64_t size, const std::string& password) {
    auto stream =
        std::make_unique<FileStream>(&file, 0, false, static_cast<Goffset>(size), Object(objNull));
    std::optional<GooString> secret;
    if (!password.empty()) {
        secret.emplace(password);
    }
    auto document = std::make_unique<PDFDoc>(stream.release(), secret, secret);
    return document->isOk() ? std::move(document) : nullptr;
}

} // namespace

std::unique_ptr<RenderedDocument> RenderedDocument::open(FileDescriptor file, std::uint64_t size,
                                                         const std::string& password) {
    // The library closes what it is given.
    auto opened = GooFile::open(::fcntl(file.get(), F_DUPFD_CLOEXEC, 0));
    if (opened == nullptr) {
        return nullptr;
    }
    // The document owns its stream, which the analyzer does not see.
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
    auto document = openWith(*opened, size, password);
    if (document == nullptr && !password.empty()) {
        // It may be an owner's that the library does not understand, of a file that anybody may
        // read.
        document = openWith(*opened, size, {});
    }
    if (document == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<RenderedDocument>(
        new RenderedDocument(std::move(opened), std::move(document)));
}

RenderedDocument::RenderedDocument(std::unique_ptr<GooFile> file, std::unique_ptr<PDFDoc> document)
    : m_file(std::move(file)), m_document(std::move(document)) {
    makeDevice();
}

RenderedDocument::~RenderedDocument() = default;

void RenderedDocument::makeDevice() {
    SplashColor paper = {0xff, 0xff, 0xff};
    constexpr int rowAlignment = 4; // bytes, which each pixel has anyway
    m_device = std::make_unique<SplashOutputDev>(splashModeXBGR8, rowAlignment, false, paper);
    m_device->setFontAntialias(true);
    m_device->setVectorAntialias(true);
    m_device->startDoc(m_document.get());
}

std::uint32_t RenderedDocument::pageCount() {
    const int count = m_document->getNumPages();
    return count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

std::optional<PictureSize> RenderedDocument::draw(const PageDrawing& drawing) {
    if (drawing.page >= pageCount()) {
        return std::nullopt;
    }
    Page* const page = m_document->getPage(static_cast<int>(drawing.page) + 1);
    if (page == nullptr) {
        return std::nullopt;
    }
    const bool useMediaBox = isThin(page->getCropWidth(), page->getCropHeight());
    double width = useMediaBox ? page->getMediaWidth() : page->getCropWidth();
    double height = useMediaBox ? page->getMediaHeight() : page->getCropHeight();
    if (isThin(width, height)) {
        return std::nullopt;
    }
    if ((page->getRotate() + drawing.rotation) % 180 != 0) {
        std::swap(width, height);
    }
    const PictureSize size = fitPicture(width, height, {drawing.width, drawing.height});
    if (std::uint64_t{size.width} * size.height * bytesAPixel > drawing.canvas.size()) {
        return std::nullopt;
    }
    const bool isDone = drawScan(*m_document, *page, *m_device, drawing, size, useMediaBox) ||
                        drawOnDevice(*page, drawing, size, useMediaBox);
    return isDone ? std::optional(size) : std::nullopt;
}

bool RenderedDocument::drawOnDevice(Page& page, const PageDrawing& drawing, PictureSize size,
                                    bool useMediaBox) {
    double width = useMediaBox ? page.getMediaWidth() : page.getCropWidth();
    double height = useMediaBox ? page.getMediaHeight() : page.getCropHeight();
    if ((page.getRotate() + drawing.rotation) % 180 != 0) {
        std::swap(width, height);
    }
    // Each direction has a resolution of its own, so that the page ends where the picture does.
    page.displaySlice(m_device.get(), pointsAnInch * size.width / width,
                      pointsAnInch * size.height / height, drawing.rotation, useMediaBox,
                      !useMediaBox, 0, 0, static_cast<int>(size.width),
                      static_cast<int>(size.height), false, drawing.isUnwanted);
    if (drawing.isUnwanted != nullptr && drawing.isUnwanted(nullptr)) {
        makeDevice(); // the old one was left in the middle of something
        return false;
    }
    SplashBitmap* const bitmap = m_device->getBitmap();
    if (bitmap == nullptr || bitmap->getDataPtr() == nullptr ||
        bitmap->getWidth() != static_cast<int>(size.width) ||
        bitmap->getHeight() != static_cast<int>(size.height)) {
        return false;
    }
    const std::size_t rowLength = std::size_t{size.width} * bytesAPixel;
    for (std::size_t row = 0; row < size.height; ++row) {
        std::memcpy(drawing.canvas.data() + row * rowLength,
                    bitmap->getDataPtr() + static_cast<std::ptrdiff_t>(row) * bitmap->getRowSize(),
                    rowLength);
    }
    return true;
}

} // namespace quillorn::render
