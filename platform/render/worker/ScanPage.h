#pragma once

#include "platform/render/worker/PageDrawing.h"

class OutputDev;
class Page;
class PDFDoc;

namespace quillorn::render {

/// Draws a page that shows one JPEG and nothing else, as scanners make them, several times faster
/// than any page can be drawn: its data is decoded at a reduced scale and averaged down to the
/// picture. Invisible text, as programs that read scans lay over them, does not matter.
///
/// False when the page is anything more, or the image has no more pixels than the picture; the
/// canvas may have been written to then, and the page is to be drawn in the usual way.
[[nodiscard]] bool drawScan(PDFDoc& document, Page& page, OutputDev& device,
                            const PageDrawing& drawing, PictureSize size, bool useMediaBox);

} // namespace quillorn::render
