#include "platform/pdf/PaperSize.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <langinfo.h>
#include <locale.h>

namespace quillorn {

namespace {

constexpr double pointsPerMillimetre = 72.0 / 25.4;
constexpr int a4WidthMillimetres = 210;
constexpr int a4HeightMillimetres = 297;

struct InchPaper {
    int width;  ///< millimetres, rounded
    int height; ///< millimetres, rounded
    PDFSize points;
};

constexpr std::array<InchPaper, 4> inchPapers{{{216, 279, {612, 792}},   // Letter
                                               {216, 356, {612, 1008}},  // Legal
                                               {279, 432, {792, 1224}},  // Tabloid
                                               {184, 267, {522, 756}}}}; // Executive

/// glibc hands the two paper sizes, integers in millimetres, back in the place of a pointer.
int paperMillimetres(nl_item item, locale_t locale) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(::nl_langinfo_l(item, locale)));
}

} // namespace

PDFSize defaultPaperSize() {
    int width = 0;
    int height = 0;
    if (const locale_t locale = ::newlocale(LC_PAPER_MASK, "", nullptr)) {
        width = paperMillimetres(_NL_PAPER_WIDTH, locale);
        height = paperMillimetres(_NL_PAPER_HEIGHT, locale);
        ::freelocale(locale);
    }
    if (width <= 0 || height <= 0) {
        width = a4WidthMillimetres;
        height = a4HeightMillimetres;
    }
    return paperSizeOfMillimetres(width, height);
}

PDFSize paperSizeOfMillimetres(int width, int height) {
    for (const InchPaper& paper : inchPapers) {
        if (paper.width == width && paper.height == height) {
            return paper.points;
        }
    }
    return PDFSize{std::round(width * pointsPerMillimetre),
                   std::round(height * pointsPerMillimetre)};
}

} // namespace quillorn
