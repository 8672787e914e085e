#include "tests/platform/pdf/carrying/HostileDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

/// Something large that many things share. Looked at anew by each of them, or copied for each, a
/// file of megabytes would take hours or become one of gigabytes.
class HostileSharing : public HostileDocument {
protected:
    static constexpr std::size_t mebibyte = std::size_t{1} << 20U;

    /// "[5 0 R 6 0 R ...]"
    static std::string references(std::size_t first, std::size_t count) {
        std::string list = "[";
        for (std::size_t i = 0; i < count; ++i) {
            list += referenceTo(first + i) + " ";
        }
        return list + "]";
    }
};

TEST_F(HostileSharing, AListOfLinksByThousandsOfPagesOneOfWhichIsRepeated) {
    constexpr std::size_t links = many(32'000);
    constexpr std::size_t pages = 2'000;
    const std::size_t list = document.add();
    const std::size_t page = addPages(pages, "/Annots " + referenceTo(list));
    const std::size_t first = document.next();
    for (std::size_t i = 0; i < links; ++i) {
        document.add("<< /Subtype /Link /Rect [0 0 9 9] /Dest [" + referenceTo(page) + " /Fit] >>");
    }
    document.set(list, references(first, links));
    const auto hostile = source();
    composition.add(hostile).add(hostile, {1});
    const WrittenPDF file(composition.writeUnchecked());
    EXPECT_EQ(file.pageCount(), pages + 1);
    EXPECT_THAT(file.links(1), SizeIs(links));
    EXPECT_EQ(file.links(1).front(), "p1 /Fit");
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited"));
}

TEST_F(HostileSharing, AListOfFieldsByAPageRepeatedAThousandTimes) {
    constexpr std::size_t fields = many(32'000);
    const std::size_t field = document.next();
    for (std::size_t i = 0; i < fields; ++i) {
        document.add("<< /Subtype /Widget /Rect [0 0 9 9] /FT /Tx /T (f" + std::to_string(i) +
                     ") >>");
    }
    document.addPage("/Annots " + references(field, fields));
    const auto hostile = source("/AcroForm << /Fields " + references(field, fields) + " >>");
    const std::filesystem::path written =
        composition.add(hostile, std::vector<std::size_t>(1'000, 1)).writeUnchecked();
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited"));
    EXPECT_LT(composition.report().bytes, 20 * mebibyte);
    const WrittenPDF file(written);
    EXPECT_THAT(file.annotations(1), SizeIs(fields));
    EXPECT_THAT(file.annotations(1'000), SizeIs(fields));
}

TEST_F(HostileSharing, ADestinationOfThousandsOfItemsByThousandsOfLinks) {
    constexpr std::size_t links = many(32'000);
    std::string items;
    for (std::size_t i = 0; i < 100'000; ++i) {
        items += " 0";
    }
    const std::size_t page = document.next();
    document.addPage("");
    document.addPage("");
    const std::size_t target = document.add("[" + referenceTo(page) + " /XYZ" + items + "]");
    const std::size_t first = document.next();
    for (std::size_t i = 0; i < links; ++i) {
        document.add("<< /Subtype /Link /Rect [0 0 9 9] /Dest " + referenceTo(target) + " >>");
    }
    document.set(page, "<< /Type /Page /Parent 1 0 R /Annots " + references(first, links) + " >>");
    const auto hostile = source();
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    EXPECT_THAT(file.links(1), SizeIs(links));
    EXPECT_EQ(file.links(1).front(), "p1 /XYZ 0 0 0 0");
}

TEST_F(HostileSharing, AListOfChildrenByThousandsOfFields) {
    constexpr std::size_t fields = many(20'000);
    const std::size_t kids = document.add();
    const std::size_t field = document.next();
    for (std::size_t i = 0; i < fields; ++i) {
        document.add("<< /FT /Tx /T (f" + std::to_string(i) + ") /Kids " + referenceTo(kids) +
                     " >>");
    }
    const std::size_t widget = document.next();
    for (std::size_t i = 0; i < fields; ++i) {
        document.add("<< /Subtype /Widget /Rect [0 0 9 9] /Parent " + referenceTo(field + i) +
                     " >>");
    }
    document.set(kids, references(widget, fields));
    document.addPage("/Annots " + referenceTo(kids));
    document.addPage("");
    const auto hostile = source("/AcroForm << /Fields " + references(field, fields) + " >>");
    writeInEveryWay(hostile);
    const auto written = composition.add(hostile).write().fields();
    EXPECT_THAT(written, SizeIs(fields));
    EXPECT_EQ(written.at("f" + std::to_string(fields - 1)), "/Tx on 1");
}

TEST_F(HostileSharing, AListOfBeadsByThousandsOfPages) {
    constexpr std::size_t beads = many(50'000);
    const std::size_t list = document.add();
    const std::size_t page = addPages(2'000, "/B " + referenceTo(list));
    const std::size_t thread = document.next();
    document.add("<< /F " + referenceTo(thread + 1) + " >>");
    for (std::size_t i = 1; i <= beads; ++i) {
        document.add("<< /P " + referenceTo(page) + " /N " +
                     referenceTo(thread + (i < beads ? i + 1 : 1)) + " >>");
    }
    document.set(list, references(thread + 1, beads));
    const auto hostile = source("/Threads [" + referenceTo(thread) + "]");
    writeInEveryWay(hostile);
    const WrittenPDF file(composition.add(hostile).writeUnchecked());
    EXPECT_EQ(file.entry(file.catalog(), "/Threads").size(), 1U);
    EXPECT_EQ(file.entry(file.page(2'000), "/B").size(), beads);
    EXPECT_LT(composition.report().bytes, 10 * mebibyte);
}

TEST_F(HostileSharing, AnActionOfManyStepsOneOfWhichIsLost) {
    constexpr std::size_t steps = 60;
    constexpr std::size_t links = many(32'000);
    const std::size_t chain = document.next();
    for (std::size_t i = 0; i < steps; ++i) {
        document.add("<< /S /URI /URI (u) /Next " + referenceTo(chain + i + 1) + " >>");
    }
    document.add("<< /S /GoTo /D (nowhere) >>");
    std::string all;
    for (std::size_t i = 0; i < links; ++i) {
        all += "<< /Subtype /Link /Rect [0 0 9 9] /A << /S /URI /URI (first) /Next " +
               referenceTo(chain) + " >> >> ";
    }
    document.addPage("/Annots [" + all + "]");
    document.addPage("");
    const auto hostile = source();
    const WrittenPDF file(composition.add(hostile).writeUnchecked());
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited"));
    EXPECT_THAT(file.annotations(1), SizeIs(links));
    EXPECT_LT(composition.report().bytes, 20 * mebibyte);
}

TEST_F(HostileSharing, AListOfFieldsByThousandsOfActions) {
    constexpr std::size_t fields = many(20'000);
    constexpr std::size_t buttons = many(10'000);
    const std::size_t list = document.add();
    std::string names;
    const std::size_t field = document.next();
    for (std::size_t i = 0; i < fields; ++i) {
        const std::string name = "(f" + std::to_string(i) + ")";
        names += name + " ";
        document.add("<< /Subtype /Widget /Rect [0 0 9 9] /FT /Tx /T " + name + " >>");
    }
    document.set(list, "[" + names + "(not there)]");
    const std::size_t button = document.next();
    for (std::size_t i = 0; i < buttons; ++i) {
        document.add("<< /Subtype /Link /Rect [0 0 9 9] /A << /S /ResetForm /Fields " +
                     referenceTo(list) + " >> >>");
    }
    document.addPage("/Annots " + references(field, fields + buttons));
    document.addPage("");
    ASSERT_EQ(button, field + fields);
    const auto hostile = source("/AcroForm << /Fields " + references(field, fields) + " >>");
    writeInEveryWay(hostile);
    const WrittenPDF file = composition.add(hostile).write();
    const auto last = file.entry(file.annotations(1).back(), "/A");
    EXPECT_EQ(file.entry(last, "/Fields").size(), fields);
    EXPECT_LT(composition.report().bytes, 10 * mebibyte);
}

TEST_F(HostileSharing, TextsOfAMegabyteByThousandsOfFieldsAndPages) {
    constexpr std::size_t fields = many(20'000);
    const std::string text = "(" + std::string(mebibyte, 'x') + ")";
    const std::size_t shared = document.add(text);
    const std::size_t top = document.add("<< /T " + referenceTo(shared) + " >>");
    const std::size_t field = document.next();
    for (std::size_t i = 0; i < fields; ++i) {
        document.add("<< /Subtype /Widget /Rect [0 0 9 9] /FT /Tx /T (f" + std::to_string(i) + ")" +
                     (i % 2 == 0 ? " /Parent " + referenceTo(top) : std::string()) + " >>");
    }
    document.addPage("/Annots " + references(field, fields) +
                     " /AA << /O << /S /ResetForm /Fields [(x.f1) (f1)] >> >>");
    addPages(500);
    std::string labels;
    for (std::size_t i = 0; i < 500; ++i) {
        labels += std::to_string(i) + " << /S /D /P " + referenceTo(shared) + " >> ";
    }
    const auto hostile = source("/AcroForm << /Fields " + references(field, fields) + " /DA " +
                                text + " >> /PageLabels << /Nums [" + labels + "] >>");
    writeInEveryWay(hostile);
    static_cast<void>(composition.add(hostile).writeUnchecked());
    EXPECT_LT(composition.report().bytes, 10 * mebibyte);
}

TEST_F(HostileSharing, AListOfLayersByThousandsOfRules) {
    constexpr std::size_t layers = many(20'000);
    const std::size_t group = document.next();
    for (std::size_t i = 0; i < layers; ++i) {
        document.add("<< /Type /OCG /Name (n) >>");
    }
    const std::size_t all = document.add(references(group, layers));
    const std::size_t order = document.next();
    document.add("[" + referenceTo(order) + " " + referenceTo(order) + " " + referenceTo(group) +
                 "]");
    std::string rules;
    for (std::size_t i = 0; i < layers; ++i) {
        rules += "<< /Event /Print /Category [/Print] /OCGs " + referenceTo(all) + " >> ";
    }
    addPages(3, "/Resources << /Properties << /P " + referenceTo(group) + " /Q " +
                    referenceTo(all) + " >> >>");
    writeInEveryWay(source("/OCProperties << /OCGs " + referenceTo(all) + " /D << /Order " +
                           referenceTo(order) + " /AS [" + rules + "] >> >>"));
}

TEST_F(HostileSharing, AProfileByThousandsOfOutputIntents) {
    const std::size_t profile =
        document.addStream("/N 3 /Filter /FlateDecode", deflatedZeros(60 * mebibyte));
    std::string intents;
    for (std::size_t i = 0; i < 2'000; ++i) {
        intents += "<< /S /GTS_PDFX /DestOutputProfile " + referenceTo(profile) + " >> ";
    }
    addPages(2);
    writeInEveryWay(source("/OutputIntents [" + intents + "]"));
}

TEST_F(HostileSharing, APacketThatStatesTheSameThroughout) {
    std::string packet = "<x:xmpmeta xmlns:x='adobe:ns:meta/'>";
    for (std::size_t i = 0; i < 200'000; ++i) {
        packet += "<pdf:Producer>a</pdf:Producer><pdfaid:part>1</pdfaid:part>";
    }
    addPages(2);
    const std::size_t metadata = document.addStream("/Type /Metadata /Subtype /XML", packet);
    writeInEveryWay(source("/Metadata " + referenceTo(metadata)));
    const auto hostile = source("/Metadata " + referenceTo(metadata));
    composition.add(hostile).writeChecked();
    EXPECT_EQ(composition.notes(), "conformance-dropped 1");
}

TEST_F(HostileSharing, APictureAndAListOfChoicesByThousandsOfFieldsToBeDrawn) {
    constexpr std::size_t fields = many(20'000);
    const std::size_t font =
        document.add("<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding "
                     "/WinAnsiEncoding >>");
    const std::size_t picture =
        document.addStream("/Type /XObject /Subtype /Form /BBox [0 0 9 9] /Filter /FlateDecode",
                           deflatedZeros(2 * mebibyte));
    std::string choices;
    for (std::size_t i = 0; i < fields; ++i) {
        choices += "(choice) ";
    }
    const std::size_t list = document.add("[" + choices + "]");
    const std::size_t field = document.next();
    for (std::size_t i = 0; i < fields; ++i) {
        document.add("<< /Subtype /Widget /Rect [0 0 9 9] /T (f" + std::to_string(i) + ") " +
                     (i % 2 == 0 ? "/FT /Tx /V (text) /AP << /N " + referenceTo(picture) + " >>"
                                 : "/FT /Ch /V (choice) /Ff 131072 /Opt " + referenceTo(list)) +
                     " >>");
    }
    document.addPage("/Annots " + references(field, fields));
    const auto hostile =
        source("/AcroForm << /NeedAppearances true /DA (/Helv 9 Tf) /DR << /Font << /Helv " +
               referenceTo(font) + " >> >> /Fields " + references(field, fields) + " >>");
    const auto plain = composition.source("plain.pdf", TestPDF("plain", 1));
    const WrittenPDF file(composition.add(hostile).add(plain).writeUnchecked());
    EXPECT_THAT(file.annotations(1), SizeIs(fields));
    EXPECT_LT(composition.report().bytes, 20 * mebibyte);
}

TEST_F(HostileSharing, ANameOfAMegabyteByThousandsOfAttachments) {
    const std::size_t name = document.add("(" + std::string(mebibyte, 'n') + ")");
    const std::size_t file = document.add("<< /Type /Filespec /F (a.txt) >>");
    std::string names;
    for (std::size_t i = 0; i < 5'000; ++i) {
        names += referenceTo(name) + " " + referenceTo(file) + " ";
    }
    addPages(2);
    const auto hostile = source("/Names << /EmbeddedFiles << /Names [" + names + "] >> >>");
    static_cast<void>(composition.add(hostile, {1}).writeUnchecked());
    EXPECT_THAT(composition.notes(), HasSubstr("structure-limited 1 (names)"));
}

TEST_F(HostileSharing, ATextOfAMegabyteByThousandsOfOutputIntents) {
    const std::size_t text = document.add("(" + std::string(mebibyte, 'x') + ")");
    std::string intents;
    for (std::size_t i = 0; i < 2'000; ++i) {
        intents += "<< /S /GTS_PDFX /Info " + referenceTo(text) + " /RegistryName " +
                   referenceTo(text) + " >> ";
    }
    addPages(2);
    const auto hostile = source("/OutputIntents [" + intents + "]");
    const auto plain = composition.source("plain.pdf", TestPDF("plain", 1));
    static_cast<void>(composition.add(hostile).add(plain).writeUnchecked());
    EXPECT_THAT(composition.notes(), HasSubstr("output-intent-dropped"));
}

} // namespace
} // namespace quillorn::tests
