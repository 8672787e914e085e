#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/render/worker/PageDrawing.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class GooFile;
class PDFDoc;
class Page;
class SplashOutputDev;

namespace quillorn::render {

/// An open document and the device that draws its pages. Both are kept from page to page: the
/// device holds the fonts that were loaded, which is half of the time of drawing a page of text.
class RenderedDocument {
public:
    /// `password` as bytes, as they open the file; it may be the user's or the owner's. Null when
    /// it cannot be opened.
    [[nodiscard]] static std::unique_ptr<RenderedDocument>
    open(FileDescriptor file, std::uint64_t size, const std::string& password);

    RenderedDocument(const RenderedDocument&) = delete;
    RenderedDocument& operator=(const RenderedDocument&) = delete;
    ~RenderedDocument();

    [[nodiscard]] std::uint32_t pageCount();

    /// Draws what the crop box shows of a page, on white. Nothing when there is no such page, when
    /// it cannot be read, or when it became unwanted meanwhile.
    [[nodiscard]] std::optional<PictureSize> draw(const PageDrawing& drawing);

private:
    RenderedDocument(std::unique_ptr<GooFile> file, std::unique_ptr<PDFDoc> document);

    void makeDevice();
    bool drawOnDevice(Page& page, const PageDrawing& drawing, PictureSize size, bool useMediaBox);

    std::unique_ptr<GooFile> m_file; ///< outlives the document, which reads from it
    std::unique_ptr<PDFDoc> m_document;
    std::unique_ptr<SplashOutputDev> m_device;
};

} // namespace quillorn::render
