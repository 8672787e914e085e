#include "platform/pdf/PaperSize.h"
#include "tests/fakes/ChildProcess.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

TEST(PaperSize, IsInWholePoints) {
    EXPECT_EQ(paperSizeOfMillimetres(210, 297), (PDFSize{595, 842}));
    EXPECT_EQ(paperSizeOfMillimetres(297, 420), (PDFSize{842, 1191}));
    EXPECT_EQ(paperSizeOfMillimetres(148, 210), (PDFSize{420, 595}));
}

TEST(PaperSize, OfPapersMadeInInchesIsThoseInches) {
    EXPECT_EQ(paperSizeOfMillimetres(216, 279), (PDFSize{612, 792}));
    EXPECT_EQ(paperSizeOfMillimetres(216, 356), (PDFSize{612, 1008}));
}

TEST(PaperSize, IsA4WhereTheLocaleIsUnknownOrNamesNone) {
    for (const char* locale : {"C", "no_SUCH.UTF-8", ""}) {
        EXPECT_EQ(tests::inChild([locale]() -> std::string {
                      ::unsetenv("LC_ALL");
                      ::setenv("LC_PAPER", locale, 1);
                      ::setenv("LANG", locale, 1);
                      return defaultPaperSize() == PDFSize{595, 842} ? "A4" : "something else";
                  }),
                  "A4")
            << locale;
    }
}

} // namespace
} // namespace quillorn
