#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/FullDocument.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

/// Everything that two whole documents carry, merged.
class Merge : public testing::Test {
protected:
    Merge()
        : one(composition.source("one.pdf", fullDocument("one"))),
          two(composition.source("two.pdf", fullDocument("two"))) {}

    WrittenPDF merged() { return composition.add(one).add(two).write("merged.pdf"); }

    Composition composition;
    Composition::Source one;
    Composition::Source two;
};

TEST_F(Merge, KeepsBothOutlinesUnderTheFilesNames) {
    EXPECT_EQ(merged().outline(), "one.pdf > p1 /Fit open\n"
                                  "  Start of one > p1 /XYZ 72 720 null open\n"
                                  "    Middle of one > p2 /FitH 700\n"
                                  "  End of one > p4 /XYZ 72 500 null\n"
                                  "two.pdf > p5 /Fit open\n"
                                  "  Start of two > p5 /XYZ 72 720 null open\n"
                                  "    Middle of two > p6 /FitH 700\n"
                                  "  End of two > p8 /XYZ 72 500 null\n");
}

TEST_F(Merge, KeepsEveryLinkOnItsOwnDocumentsPages) {
    const WrittenPDF file = merged();
    EXPECT_THAT(file.links(1), ElementsAre("p3 /XYZ 72 400 null", "p4 /XYZ 72 500 null",
                                           "uri http://example.org/one"));
    EXPECT_THAT(file.links(5), ElementsAre("p7 /XYZ 72 400 null", "p8 /XYZ 72 500 null",
                                           "uri http://example.org/two"));
}

TEST_F(Merge, KeepsBothFieldsUnderNamesOfTheirOwn) {
    EXPECT_THAT(merged().fields(),
                UnorderedElementsAre(Pair("name", "/Tx (value of one) on 2"),
                                     Pair("name (2)", "/Tx (value of two) on 6")));
    EXPECT_EQ(composition.notes(), "field-renamed 1 (name)");
}

TEST_F(Merge, KeepsPageLabels) {
    static_cast<void>(merged());
    const auto ranges = composition.open(composition.folder() / "merged.pdf")->labelRanges();
    ASSERT_TRUE(ranges);
    std::vector<std::string> labels;
    for (std::size_t page = 0; page < 8; ++page) {
        labels.push_back(pageLabelText(*ranges, page));
    }
    EXPECT_THAT(labels, ElementsAre("i", "ii", "iii", "iv", "i", "ii", "iii", "iv"));
}

TEST_F(Merge, KeepsBothAttachments) {
    EXPECT_THAT(merged().attachments(), ElementsAre("notes (2).txt", "notes.txt"));
    const std::string path = (composition.folder() / "merged.pdf").string();
    EXPECT_EQ(outputOf({"qpdf", "--show-attachment=notes.txt", path}), "notes of one");
    EXPECT_EQ(outputOf({"qpdf", "--show-attachment=notes (2).txt", path}), "notes of two");
    // Saved all at once by another program, neither takes the other's place.
    const std::filesystem::path folder = composition.folder() / "saved";
    std::filesystem::create_directory(folder);
    static_cast<void>(outputOf({"pdfdetach", "-saveall", "-o", folder.string(), path}));
    EXPECT_EQ(readFile(folder / "notes.txt"), "notes of one");
    EXPECT_EQ(readFile(folder / "notes (2).txt"), "notes of two");
}

TEST_F(Merge, IsTitledAfterTheGroup) {
    composition.options().title = "Both Documents";
    const WrittenPDF file = merged();
    EXPECT_EQ(file.text(file.information()["/Title"]), "Both Documents");
    EXPECT_EQ(file.text(file.information()["/Producer"]), "Quillorn Folivane");
    EXPECT_FALSE(file.information().contains("/Author"));
}

TEST_F(Merge, IsTitledAfterTheFileWithoutAGroup) {
    const WrittenPDF file = merged();
    EXPECT_EQ(file.text(file.information()["/Title"]), "merged");
}

TEST_F(Merge, OfOneDocumentKeepsItsDescription) {
    const WrittenPDF file = composition.add(one).addBlank().write();
    EXPECT_EQ(file.text(file.information()["/Title"]), "Title of one");
    EXPECT_EQ(file.text(file.information()["/Author"]), "Author of one");
    EXPECT_EQ(file.text(file.information()["/Subject"]), "Subject of one");
    EXPECT_EQ(file.text(file.information()["/Keywords"]), "Keywords of one");
    EXPECT_EQ(file.text(file.information()["/Producer"]), "Quillorn Folivane");
}

TEST_F(Merge, OfOneDocumentHasNoEntryForTheFile) {
    EXPECT_EQ(composition.add(one).write().outline(), "Start of one > p1 /XYZ 72 720 null open\n"
                                                      "  Middle of one > p2 /FitH 700\n"
                                                      "End of one > p4 /XYZ 72 500 null\n");
    EXPECT_EQ(composition.notes(), "");
}

TEST_F(Merge, InterleavedAndReversedKeepsEverythingOnItsPage) {
    const WrittenPDF file = composition.add(two, {4})
                                .add(one, {4})
                                .add(two, {3})
                                .add(one, {3})
                                .add(two, {2})
                                .add(one, {2})
                                .add(two, {1})
                                .add(one, {1})
                                .write();
    EXPECT_EQ(file.outline(), "two.pdf > p1 /Fit open\n"
                              "  Start of two > p7 /XYZ 72 720 null open\n"
                              "    Middle of two > p5 /FitH 700\n"
                              "  End of two > p1 /XYZ 72 500 null\n"
                              "one.pdf > p2 /Fit open\n"
                              "  Start of one > p8 /XYZ 72 720 null open\n"
                              "    Middle of one > p6 /FitH 700\n"
                              "  End of one > p2 /XYZ 72 500 null\n");
    EXPECT_THAT(file.links(7), ElementsAre("p3 /XYZ 72 400 null", "p1 /XYZ 72 500 null",
                                           "uri http://example.org/two"));
    EXPECT_THAT(file.links(8), ElementsAre("p4 /XYZ 72 400 null", "p2 /XYZ 72 500 null",
                                           "uri http://example.org/one"));
    EXPECT_THAT(file.fields(), UnorderedElementsAre(Pair("name", "/Tx (value of two) on 5"),
                                                    Pair("name (2)", "/Tx (value of one) on 6")));
}

} // namespace
} // namespace quillorn::tests
