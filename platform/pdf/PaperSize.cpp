#include "platform/pdf/PaperSize.h"

#include <cmath>
#include <cstdint>
#include <langinfo.h>
#include <locale.h>

namespace quillorn {

namespace {

constexpr double pointsPerMillimetre = 72.0 / 25.4;
constexpr double a4WidthMillimetres = 210;
constexpr double a4HeightMillimetres = 297;

/// glibc hands the two paper sizes, integers in millimetres, back in the place of a pointer.
double paperMillimetres(nl_item item, locale_t locale) {
    return static_cast<double>(
        static_cast<int>(reinterpret_cast<std::intptr_t>(::nl_langinfo_l(item, locale))));
}

} // namespace

PDFSize defaultPaperSize() {
    double width = 0;
    double height = 0;
    if (const locale_t locale = ::newlocale(LC_PAPER_MASK, "", nullptr)) {
        width = paperMillimetres(_NL_PAPER_WIDTH, locale);
        height = paperMillimetres(_NL_PAPER_HEIGHT, locale);
        ::freelocale(locale);
    }
    if (width <= 0 || height <= 0) {
        width = a4WidthMillimetres;
        height = a4HeightMillimetres;
    }
    return PDFSize{std::round(width * pointsPerMillimetre),
                   std::round(height * pointsPerMillimetre)};
}

} // namespace quillorn
