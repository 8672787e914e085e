#include "platform/pdf/PDFGeometry.h"

#include <algorithm>
#include <utility>

namespace quillorn {

PDFSize PDFPageGeometry::displaySize() const {
    PDFBox visible{std::max(mediaBox.left, cropBox.left), std::max(mediaBox.bottom, cropBox.bottom),
                   std::min(mediaBox.right, cropBox.right), std::min(mediaBox.top, cropBox.top)};
    if (visible.width() <= 0 || visible.height() <= 0) {
        visible = mediaBox;
    }
    PDFSize size{visible.width() * userUnit, visible.height() * userUnit};
    if (rotation % 180 != 0) {
        std::swap(size.width, size.height);
    }
    return size;
}

} // namespace quillorn
