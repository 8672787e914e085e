#include "tests/architecture/IncludeRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillorn::architecture {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// What is reported when `includer` holds the directive, in a tree with one header
// in each folder.
std::vector<std::string> reported(const std::string& includer, const std::string& directive) {
    std::vector<SourceFile> files;
    for (const char* folder :
         {"app", "model", "panes", "import", "composer", "support", "platform/pdf",
          "platform/render", "platform/browser", "platform/ui", "platform/process",
          "platform/imaging", "tests/fakes", "tests/support", "benchmarks/support",
          "benchmarks/common", "fuzz"}) {
        files.push_back({std::string(folder) + "/Header.h", ""});
    }
    files.push_back({"platform/pdf/OnlyInPdf.h", ""});
    files.push_back({includer, "#include " + directive + "\n"});
    std::vector<std::string> texts;
    for (const Violation& violation : IncludeRules(files).check()) {
        texts.push_back(violation.text());
    }
    return texts;
}

TEST(IncludeRules, SaysWhereAndWhatAForbiddenIncludeIs) {
    EXPECT_THAT(reported("model/Item.cpp", "\"app/Header.h\""),
                ElementsAre("model/Item.cpp:1: app/Header.h: model must not include app"));
}

struct Direction {
    std::string from;
    std::string to;
};

std::vector<std::string> reported(const Direction& direction) {
    return reported(direction.from + "/Unit.cpp", "\"" + direction.to + "/Header.h\"");
}

TEST(IncludeRules, ReportsEveryForbiddenDirection) {
    const std::vector<Direction> forbidden = {{"import", "composer"},
                                              {"composer", "import"},
                                              {"import", "app"},
                                              {"composer", "app"},
                                              {"panes", "import"},
                                              {"panes", "composer"},
                                              {"panes", "app"},
                                              {"model", "panes"},
                                              {"model", "platform/browser"},
                                              {"model", "platform/process"},
                                              {"model", "import"},
                                              {"platform/pdf", "model"},
                                              {"platform/browser", "panes"},
                                              {"platform/ui", "app"},
                                              {"platform/process", "composer"},
                                              {"app", "support"},
                                              {"import", "support"},
                                              {"composer", "support"},
                                              {"panes", "support"},
                                              {"model", "support"},
                                              {"platform/pdf", "support"},
                                              {"platform/render", "support"},
                                              {"fuzz", "support"},
                                              {"tests/model", "support"},
                                              {"benchmarks/compose", "support"},
                                              {"support", "platform/process"},
                                              {"support", "model"},
                                              {"tests/support", "platform/pdf"},
                                              {"tests/model", "tests/support"},
                                              {"app", "tests/fakes"},
                                              {"model", "fuzz"},
                                              {"platform/pdf", "benchmarks/common"}};
    for (const Direction& direction : forbidden) {
        EXPECT_THAT(reported(direction), SizeIs(1)) << direction.from << " to " << direction.to;
    }
}

TEST(IncludeRules, ReportsNoAllowedDirection) {
    const std::vector<Direction> allowed = {{"app", "import"},
                                            {"app", "composer"},
                                            {"app", "panes"},
                                            {"app", "model"},
                                            {"app", "platform/ui"},
                                            {"app", "platform/pdf"},
                                            {"import", "panes"},
                                            {"import", "model"},
                                            {"import", "platform/process"},
                                            {"import", "platform/imaging"},
                                            {"composer", "panes"},
                                            {"composer", "model"},
                                            {"composer", "platform/pdf"},
                                            {"panes", "model"},
                                            {"panes", "platform/browser"},
                                            {"model", "platform/pdf"},
                                            {"platform/ui", "platform/browser"},
                                            {"platform/render", "platform/pdf"},
                                            {"platform/pdf", "platform/process"},
                                            {"support", "support"},
                                            {"support/examples", "support"},
                                            {"tests/support", "support"},
                                            {"benchmarks/support", "support"},
                                            {"benchmarks/support", "benchmarks/common"},
                                            {"tests/import", "composer"},
                                            {"tests/model", "tests/fakes"},
                                            {"benchmarks/compose", "composer"},
                                            {"fuzz", "platform/pdf"}};
    for (const Direction& direction : allowed) {
        EXPECT_THAT(reported(direction), IsEmpty()) << direction.from << " to " << direction.to;
    }
}

TEST(IncludeRules, ImageDecodersStayInTheWorkers) {
    for (const char* const header : {"<Magick++.h>", "<tiffio.h>", "<QImageReader>",
                                     "<QtSvg/QSvgRenderer>", "<libdeflate.h>"}) {
        EXPECT_THAT(reported("platform/imaging/ImageReader.cpp", header), SizeIs(1)) << header;
        EXPECT_THAT(reported("import/Converter.cpp", header), SizeIs(1)) << header;
        EXPECT_THAT(reported("platform/imaging/worker/Decoder.cpp", header), IsEmpty()) << header;
    }
}

TEST(IncludeRules, ReportsAForbiddenDirectionHoweverItIsWritten) {
    EXPECT_THAT(reported("model/Item.cpp", "<app/Header.h>"), SizeIs(1));
    EXPECT_THAT(reported("model/Item.cpp", "\"../app/Header.h\""), SizeIs(1));
    EXPECT_THAT(reported("model/Item.cpp", "\"platform/pdf/../browser/Header.h\""), SizeIs(1));
}

TEST(IncludeRules, ReportsAWayAroundThroughAnotherIncludeFolder) {
    EXPECT_THAT(reported("support/Pool.cpp", "\"OnlyInPdf.h\""), SizeIs(1));
    EXPECT_THAT(reported("support/Pool.cpp", "<pdf/OnlyInPdf.h>"), SizeIs(1));
    EXPECT_THAT(reported("model/Item.cpp", "\"OnlyInPdf.h\""), IsEmpty());
}

TEST(IncludeRules, ReportsAForbiddenHeaderThatTheBuildMakes) {
    EXPECT_THAT(reported("model/Item.cpp", "\"app/Version.h\""), SizeIs(1));
    EXPECT_THAT(reported("app/Item.cpp", "\"app/Version.h\""), IsEmpty());
    EXPECT_THAT(reported("platform/ui/Panel.cpp", "\"Panel.moc\""), IsEmpty());
}

TEST(IncludeRules, TakesAHeaderBesideTheIncludingFileFirst) {
    EXPECT_THAT(reported("model/Item.cpp", "\"Header.h\""), IsEmpty());
}

TEST(IncludeRules, ReportsAnIncludeThroughAMacro) {
    EXPECT_THAT(reported("model/Item.cpp", "HEADER"), SizeIs(1));
}

TEST(IncludeRules, ReportsASourceInAFolderWithoutARule) {
    EXPECT_THAT(reported("utilities/Strings.cpp", "<string>"), SizeIs(1));
    EXPECT_THAT(reported("Strings.cpp", "<string>"), SizeIs(1));
}

TEST(IncludeRules, ReportsLibqpdfOutsidePlatformPdf) {
    EXPECT_THAT(reported("platform/pdf/Writer.cpp", "<qpdf/QPDF.hh>"), IsEmpty());
    EXPECT_THAT(reported("cmake/clang/qpdf/Part.hh", "<qpdf/QPDF.hh>"), IsEmpty());
    for (const char* file : {"model/Item.cpp", "platform/render/Queue.cpp", "app/main.cpp",
                             "fuzz/Open.cpp", "tests/platform/pdf/WriterTest.cpp"}) {
        EXPECT_THAT(reported(file, "<qpdf/QPDF.hh>"), SizeIs(1)) << file;
    }
    EXPECT_THAT(reported("model/Item.cpp", "\"qpdf/QPDF.hh\""), SizeIs(1));
}

TEST(IncludeRules, ReportsQtWidgetsOutsideTheFoldersWithAWindow) {
    for (const char* header :
         {"<QWidget>", "<QtWidgets/QLabel>", "<qmessagebox.h>", "<QApplication>", "<QtWidgets>"}) {
        EXPECT_THAT(reported("composer/Pane.cpp", header), SizeIs(1)) << header;
        EXPECT_THAT(reported("platform/render/Queue.cpp", header), SizeIs(1)) << header;
        for (const char* file : {"app/MainWindow.cpp", "platform/ui/Alerts.cpp",
                                 "platform/browser/View.cpp", "tests/composer/PaneTest.cpp"}) {
            EXPECT_THAT(reported(file, header), IsEmpty()) << file << " " << header;
        }
    }
    EXPECT_THAT(reported("composer/Pane.cpp", "<QImage>"), IsEmpty());
    EXPECT_THAT(reported("composer/Pane.cpp", "<QtCore/QString>"), IsEmpty());
}

TEST(IncludeRules, ReportsPopplerOutsideTheWorkerThatDrawsPages) {
    for (const char* header : {"<poppler/PDFDoc.h>", "<poppler-qt6.h>", "<SplashOutputDev.h>",
                               "<splash/SplashBitmap.h>", "<poppler/cpp/poppler-page.h>"}) {
        EXPECT_THAT(reported("platform/pdf/Source.cpp", header), SizeIs(1)) << header;
        EXPECT_THAT(reported("platform/render/Renderer.cpp", header), SizeIs(1)) << header;
        EXPECT_THAT(reported("platform/render/worker/Document.cpp", header), IsEmpty()) << header;
    }
}

TEST(IncludeRules, ReportsQtInTheSupportLibrary) {
    for (const char* file :
         {"support/Pool.cpp", "tests/support/PoolTest.cpp", "benchmarks/support/Pool.cpp"}) {
        EXPECT_THAT(reported(file, "<QString>"), SizeIs(1)) << file;
        EXPECT_THAT(reported(file, "<QtCore/qglobal.h>"), SizeIs(1)) << file;
        EXPECT_THAT(reported(file, "<string>"), IsEmpty()) << file;
    }
}

} // namespace
} // namespace quillorn::architecture
