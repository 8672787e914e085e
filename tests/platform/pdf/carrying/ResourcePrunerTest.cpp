#include "tests/fakes/RawPDF.h"
#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/HandmadePDF.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;

constexpr std::size_t heavy = 40'000; ///< bytes of every picture and font here
constexpr std::size_t light = 8'000;  ///< more than what is around them

std::size_t addPicture(HandmadePDF& document) {
    return document.addStream("/Type /XObject /Subtype /Image /Width 200 /Height 200 "
                              "/BitsPerComponent 8 /ColorSpace /DeviceGray",
                              noise(heavy));
}

std::size_t addFont(HandmadePDF& document) {
    const std::size_t file = document.addStream("", noise(heavy));
    const std::size_t descriptor =
        document.add("<< /Type /FontDescriptor /FontName /Noise /Flags 4 /FontFile2 " +
                     referenceTo(file) + " >>");
    return document.add("<< /Type /Font /Subtype /TrueType /BaseFont /Noise /FontDescriptor " +
                        referenceTo(descriptor) + " >>");
}

std::size_t addForm(HandmadePDF& document, const std::string& data, const std::string& resources) {
    return document.addStream("/Type /XObject /Subtype /Form /BBox [0 0 9 9] " + resources, data);
}

/// A page that draws these operators.
std::size_t addPage(HandmadePDF& document, const std::string& operators,
                    const std::string& entries = "") {
    const std::size_t content = document.addStream("", operators);
    return document.addPage("/Contents " + referenceTo(content) + " " + entries);
}

/// The names that resources (of a page, of a form) hold in a category.
std::vector<std::string> named(const WrittenPDF& file, const nlohmann::json& holder,
                               const std::string& category) {
    std::vector<std::string> names;
    const auto entries = file.entry(file.entry(holder, "/Resources"), category);
    if (entries.is_object()) {
        for (const auto& [name, value] : entries.items()) {
            names.push_back(name);
        }
    }
    return names;
}

class Pruning : public testing::Test {
protected:
    /// Writes page 1 of a document with these resources for all pages.
    WrittenPDF firstPage(const std::string& resources) {
        const auto path = document.write(composition.folder() / "source.pdf", "",
                                         "/Resources << " + resources + " >>");
        return composition.add(composition.open(path), {1}).write();
    }
    [[nodiscard]] std::size_t bytes() const { return composition.report().bytes; }

    Composition composition;
    HandmadePDF document;
};

TEST_F(Pruning, LeavesPicturesAndFontsBehindThatNoPageDraws) {
    addPage(document, "/Used Do BT /Letters 9 Tf ET");
    addPage(document, "/Unused Do BT /Other 9 Tf ET");
    const WrittenPDF file = firstPage("/XObject << /Used " + referenceTo(addPicture(document)) +
                                      " /Unused " + referenceTo(addPicture(document)) +
                                      " >> /Font << /Letters " + referenceTo(addFont(document)) +
                                      " /Other " + referenceTo(addFont(document)) + " >>");
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/Used"));
    EXPECT_THAT(named(file, file.page(1), "/Font"), ElementsAre("/Letters"));
    EXPECT_GT(bytes(), 2 * heavy);
    EXPECT_LT(bytes(), 2 * heavy + light);
}

TEST_F(Pruning, KnowsNamesInTheirEscapedForm) {
    addPage(document, "/U#73ed Do");
    addPage(document, "");
    const WrittenPDF file =
        firstPage("/XObject << /Used " + referenceTo(addPicture(document)) + " >>");
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/Used"));
}

TEST_F(Pruning, LeavesPatternsShadingsMasksAndProfilesBehind) {
    addPage(document, "/UsedPattern scn /UsedMask gs /UsedProfile cs");
    addPage(document, "");
    const auto pattern = [this]() {
        return referenceTo(document.addStream(
            "/Type /Pattern /PatternType 1 /PaintType 1 /TilingType 1 /BBox [0 0 9 9] /XStep 9 "
            "/YStep 9 /Resources << /XObject << /P " +
                referenceTo(addPicture(document)) + " >> >>",
            "/P Do"));
    };
    const auto mask = [this]() {
        return "<< /SMask << /S /Luminosity /G " +
               referenceTo(addForm(document, "/P Do",
                                   "/Resources << /XObject << /P " +
                                       referenceTo(addPicture(document)) + " >> >>")) +
               " >> >>";
    };
    const auto profile = [this]() {
        return "[/ICCBased " + referenceTo(document.addStream("/N 3", noise(heavy))) + "]";
    };
    const auto shading = [this]() {
        return referenceTo(document.addStream(
            "/ShadingType 4 /ColorSpace /DeviceRGB /BitsPerCoordinate 8 /BitsPerComponent 8 "
            "/BitsPerFlag 8 /Decode [0 1 0 1 0 1 0 1 0 1]",
            noise(heavy)));
    };
    const WrittenPDF file =
        firstPage("/Pattern << /UsedPattern " + pattern() + " /OtherPattern " + pattern() +
                  " >> /ExtGState << /UsedMask " + mask() + " /OtherMask " + mask() +
                  " /Light << /ca 1 >> >> /ColorSpace << /UsedProfile " + profile() +
                  " /OtherProfile " + profile() + " /DefaultRGB " + profile() +
                  " >> /Shading << /OtherShading " + shading() + " >>");
    EXPECT_THAT(named(file, file.page(1), "/Pattern"), ElementsAre("/UsedPattern"));
    EXPECT_THAT(named(file, file.page(1), "/ExtGState"), ElementsAre("/Light", "/UsedMask"));
    EXPECT_THAT(named(file, file.page(1), "/ColorSpace"),
                ElementsAre("/DefaultRGB", "/UsedProfile"));
    EXPECT_THAT(named(file, file.page(1), "/Shading"), ElementsAre());
    EXPECT_GT(bytes(), 4 * heavy);
    EXPECT_LT(bytes(), 4 * heavy + light);
}

TEST_F(Pruning, FollowsFormsWithResourcesOfTheirOwn) {
    // Each page is one form, and the forms share a dictionary with all the pictures.
    const std::size_t shared = document.add();
    const std::string own = "/Resources " + referenceTo(shared);
    const std::size_t inner = addForm(document, "/Inner Do", own);
    const std::size_t first = addForm(document, "/First Do /InnerForm Do", own);
    const std::size_t second = addForm(document, "/Second Do", own);
    document.set(shared, "<< /XObject << /First " + referenceTo(addPicture(document)) +
                             " /Second " + referenceTo(addPicture(document)) + " /Inner " +
                             referenceTo(addPicture(document)) + " /InnerForm " +
                             referenceTo(inner) + " >> >>");
    addPage(document, "/F Do", "/Resources << /XObject << /F " + referenceTo(first) + " >> >>");
    addPage(document, "/F Do", "/Resources << /XObject << /F " + referenceTo(second) + " >> >>");
    const WrittenPDF file = firstPage("");
    const auto form =
        file.entry(file.entry(file.entry(file.page(1), "/Resources"), "/XObject"), "/F");
    EXPECT_THAT(named(file, form, "/XObject"), ElementsAre("/First", "/Inner", "/InnerForm"));
    EXPECT_GT(bytes(), 2 * heavy);
    EXPECT_LT(bytes(), 2 * heavy + light);
}

TEST_F(Pruning, KeepsWhatFormsBorrowFromTheirPage) {
    const std::size_t borrower = addForm(document, "/Borrowed Do", "");
    const std::size_t unused = addForm(document, "/Unused Do", "");
    addPage(document, "/Form Do");
    addPage(document, "");
    const WrittenPDF file =
        firstPage("/XObject << /Form " + referenceTo(borrower) + " /UnusedForm " +
                  referenceTo(unused) + " /Borrowed " + referenceTo(addPicture(document)) +
                  " /Unused " + referenceTo(addPicture(document)) + " >>");
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/Borrowed", "/Form"));
}

TEST_F(Pruning, KeepsWhatDrawnFontsBorrow) {
    const std::size_t letter = document.addStream("", "9 0 d0 /Drawn Do");
    const std::size_t font = document.add(
        "<< /Type /Font /Subtype /Type3 /FontBBox [0 0 9 9] /FontMatrix [1 0 0 1 0 0] /CharProcs "
        "<< /a " +
        referenceTo(letter) +
        " >> /Encoding << /Differences [97 /a] >> /FirstChar 97 /LastChar 97 /Widths [9] >>");
    addPage(document, "BT /Drawing 9 Tf (a) Tj ET");
    addPage(document, "");
    const WrittenPDF file =
        firstPage("/Font << /Drawing " + referenceTo(font) + " >> /XObject << /Drawn " +
                  referenceTo(addPicture(document)) + " /Unused " +
                  referenceTo(addPicture(document)) + " >>");
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/Drawn"));
}

TEST_F(Pruning, KeepsWhatAnnotationsBorrow) {
    const std::size_t appearance = addForm(document, "/Stamp Do", "");
    addPage(document, "",
            "/Annots [<< /Type /Annot /Subtype /Stamp /Rect [0 0 9 9] /AP << /N " +
                referenceTo(appearance) + " >> >>]");
    addPage(document, "");
    const WrittenPDF file = firstPage("/XObject << /Stamp " + referenceTo(addPicture(document)) +
                                      " /Unused " + referenceTo(addPicture(document)) + " >>");
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/Stamp"));
}

TEST_F(Pruning, KeepsEverythingWhereContentsCannotBeRead) {
    const std::size_t broken = document.addStream("/Filter /FlateDecode", "this is not compressed");
    document.addPage("/Contents " + referenceTo(broken));
    addPage(document, "");
    const auto path = document.write(composition.folder() / "source.pdf", "",
                                     "/Resources << /XObject << /P " +
                                         referenceTo(addPicture(document)) + " >> >>");
    const auto written = composition.add(composition.open(path), {1}).writeUnchecked();
    EXPECT_THAT(named(WrittenPDF(written), WrittenPDF(written).page(1), "/XObject"),
                ElementsAre("/P"));
}

TEST_F(Pruning, SharesWhatPagesShared) {
    addPage(document, "/A Do");
    addPage(document, "/B Do");
    addPage(document, "/C Do");
    addPage(document, "");
    const auto path =
        document.write(composition.folder() / "source.pdf", "",
                       "/Resources << /XObject << /A " + referenceTo(addPicture(document)) +
                           " /B " + referenceTo(addPicture(document)) + " /C " +
                           referenceTo(addPicture(document)) + " >> >>");
    const WrittenPDF file = composition.add(composition.open(path), {1, 2}).write();
    EXPECT_EQ(file.page(1)["/Resources"], file.page(2)["/Resources"]);
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/A", "/B"));
    EXPECT_LT(bytes(), 2 * heavy + light);
}

TEST_F(Pruning, OfHundredMegabytesLeavesAPagesWorth) {
    constexpr std::size_t pages = 100;
    const std::string picture = noise(1'000'000);
    std::string all;
    for (std::size_t i = 0; i < pages; ++i) {
        const std::string name = "/Picture" + std::to_string(i);
        addPage(document, name + " Do");
        all += name + " " +
               referenceTo(document.addStream("/Type /XObject /Subtype /Image /Width 1000 /Height "
                                              "1000 /BitsPerComponent 8 /ColorSpace /DeviceGray",
                                              picture)) +
               " ";
    }
    const auto path = document.write(composition.folder() / "large.pdf", "",
                                     "/Resources << /XObject << " + all + " >> >>");
    const auto source = composition.open(path);
    EXPECT_GT(source->fileSize(), 100'000'000U);
    composition.add(source, {57}).writeChecked();
    EXPECT_LT(bytes(), 1'010'000U);
}

TEST_F(Pruning, GivesUpOnContentsThatDecodeToFarMoreThanContentsDo) {
    const std::size_t bomb = document.addStream("/Filter /FlateDecode", deflatedZeros(100U << 20U));
    document.addPage("/Contents " + referenceTo(bomb));
    document.addPage("/Contents [" + referenceTo(bomb) + " " + referenceTo(bomb) + "]");
    addPage(document, "");
    const auto path = document.write(composition.folder() / "source.pdf", "",
                                     "/Resources << /XObject << /P " +
                                         referenceTo(addPicture(document)) + " >> >>");
    const auto written = composition.add(composition.open(path), {1, 2}).writeUnchecked();
    EXPECT_THAT(named(WrittenPDF(written), WrittenPDF(written).page(1), "/XObject"),
                ElementsAre("/P"));
}

/// Small files whose contents take long to look through. Within limits of time and memory, the
/// pages are written, with all that they may need.
class PruningWithinLimits : public Pruning {
protected:
    PruningWithinLimits() { composition.limitWrites(); }

    WrittenPDF firstPageOf(std::size_t pages, const std::string& entries = "") {
        const auto path = document.write(composition.folder() / "source.pdf", "", entries);
        std::vector<std::size_t> all;
        for (std::size_t page = 1; page <= pages; ++page) {
            all.push_back(page);
        }
        return WrittenPDF(composition.add(composition.open(path), all).writeUnchecked());
    }
};

TEST_F(PruningWithinLimits, OfContentsThatASmallFileUnpacksToMegabytesEverythingStays) {
    const std::string blanks((std::size_t{8} << 20U), ' ');
    const std::size_t contents =
        document.addStream("/Filter /FlateDecode", deflated(blanks + "/Used Do"));
    document.addPage("/Contents " + referenceTo(contents));
    addPage(document, "");
    const WrittenPDF file =
        firstPageOf(1, "/Resources << /XObject << /Unused " + referenceTo(addPicture(document)) +
                           " /Used " + referenceTo(addPicture(document)) + " >> >>");
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/Unused", "/Used"));
}

TEST_F(PruningWithinLimits, ADictionaryOfThousandsThatThousandsOfPagesShare) {
    constexpr std::size_t pages = 2'000;
    const std::size_t form = addForm(document, "/Nothing Do", "");
    std::string entries;
    for (std::size_t i = 0; i < 20'000; ++i) {
        entries += "/F" + std::to_string(i) + " " + referenceTo(form) + " ";
    }
    const std::size_t shared = document.add("<< " + entries + " >>");
    for (std::size_t i = 0; i < pages; ++i) {
        document.addPage("/Resources << /XObject " + referenceTo(shared) + " >>");
    }
    addPage(document, "");
    const WrittenPDF file = firstPageOf(pages);
    EXPECT_EQ(named(file, file.page(1), "/XObject").size(), 20'000U);
    EXPECT_EQ(named(file, file.page(pages), "/XObject").size(), 20'000U);
}

TEST_F(PruningWithinLimits, AListOfAnnotationsThatThousandsOfPagesShare) {
    constexpr std::size_t pages = 2'000;
    const std::size_t appearance = addForm(document, "/Stamp Do", "");
    std::string stamps;
    for (std::size_t i = 0; i < 20'000; ++i) {
        stamps +=
            "<< /Subtype /Stamp /Rect [0 0 9 9] /AP << /N " + referenceTo(appearance) + " >> >> ";
    }
    const std::size_t shared = document.add("[" + stamps + "]");
    const std::string picture = referenceTo(addPicture(document));
    for (std::size_t i = 0; i < pages; ++i) {
        document.addPage("/Annots " + referenceTo(shared) + " /Resources << /XObject << /P " +
                         picture + " >> >>");
    }
    addPage(document, "");
    const WrittenPDF file = firstPageOf(pages);
    EXPECT_THAT(named(file, file.page(1), "/XObject"), ElementsAre("/P"));
}

} // namespace
} // namespace quillorn::tests
