#include "composer/PageNumbers.h"

#include "platform/pdf/PDFSource.h"
#include "platform/pdf/PageRedrawing.h"

#include <cstddef>
#include <utility>

namespace quillorn {

std::string_view getTheRGBColorSpace() {
    return "/DeviceRGB";
}

void drawQuartzRomanText(std::string& context, int number) {
    const std::string space(getTheRGBColorSpace());
    context += "q\n";
    context += space + " cs 1 1 1 scn\n";
    context += space + " CS 1 1 1 SCN\n";
    context += "20 20 54 18 re B\n";
    context += "0 0 0 scn\n"; // opaque: more than that there is not
    context += "BT /Times-Roman 10 Tf 1 0 0 1 25 25 Tm (Page " + std::to_string(number);
    context += ") Tj ET\nQ\n";
}

PDFResult<void> drawPageNumber(const std::filesystem::path& path) {
    auto source = PDFSource::open(path);
    if (source && !(*source)->isLocked()) {
        source = (*source)->withCountedPages();
    }
    if (!source) {
        return tl::unexpected(std::move(source.error()));
    }
    const std::size_t count = (*source)->pageCount();
    if (count == 0 && !(*source)->isLocked()) {
        return {};
    }
    const auto geometry = (*source)->geometry(count >= 2 ? 1 : 0);
    if (!geometry) {
        return tl::unexpected(geometry.error());
    }
    return redrawPages(path, geometry->mediaBox);
}

} // namespace quillorn
