#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Adds an attachment's file entry; returns its object number.
std::size_t addAttachment(TestPDF& document, const std::string& data) {
    const std::size_t file =
        document.addObject("<< /Type /EmbeddedFile /Length " + std::to_string(data.size()) +
                           " >>\nstream\n" + data + "\nendstream");
    return document.addObject("<< /Type /Filespec /F (notes.txt) /EF << /F " + referenceTo(file) +
                              " >> >>");
}

/// Two pages and attachments of these names, whose contents are their names.
TestPDF attached(const std::string& name, const std::vector<std::string>& attachments) {
    TestPDF document(name, 2);
    std::string names;
    for (const std::string& attachment : attachments) {
        names += "(" + attachment + ") " +
                 referenceTo(addAttachment(document, attachment + " of " + name)) + " ";
    }
    return document.addCatalogEntry("/Names << /EmbeddedFiles << /Names [" + names + "] >> >>");
}

std::string attachment(const Composition& composition, const std::string& name) {
    return outputOf(
        {"qpdf", "--show-attachment=" + name, (composition.folder() / "out.pdf").string()});
}

TEST(Attachments, ComeAlongOnceWithAnyPage) {
    Composition composition;
    const auto source = composition.source("a.pdf", attached("a", {"one.txt", "two.txt"}));
    EXPECT_THAT(composition.add(source, {2, 2, 2}).write().attachments(),
                ElementsAre("one.txt", "two.txt"));
    EXPECT_EQ(attachment(composition, "two.txt"), "two.txt of a");
}

TEST(Attachments, OfEqualNamesAreNumbered) {
    Composition composition;
    const auto a = composition.source("a.pdf", attached("a", {"data", "notes.txt", ".hidden"}));
    const auto b = composition.source("b.pdf", attached("b", {"data", "notes.txt", ".hidden"}));
    const auto c = composition.source("c.pdf", attached("c", {"notes.txt"}));
    EXPECT_THAT(composition.add(a).add(b, {1}).add(c, {1}).write().attachments(),
                ElementsAre(".hidden", ".hidden (2)", "data", "data (2)", "notes (2).txt",
                            "notes (3).txt", "notes.txt"));
    EXPECT_EQ(attachment(composition, "notes.txt"), "notes.txt of a");
    EXPECT_EQ(attachment(composition, "notes (2).txt"), "notes.txt of b");
    EXPECT_EQ(attachment(composition, "notes (3).txt"), "notes.txt of c");
}

TEST(Attachments, OfTheDocumentThatComesFirstKeepTheirNames) {
    Composition composition;
    const auto part = composition.source("part.pdf", attached("part", {"notes.txt"}));
    const auto whole = composition.source("whole.pdf", attached("whole", {"notes.txt"}));
    composition.add(part, {1}).add(whole).writeChecked();
    EXPECT_EQ(attachment(composition, "notes.txt"), "notes.txt of part");
}

TEST(Attachments, StandInTheOrderOfTheirNamesBytes) {
    // That is how readers search them; the texts sort otherwise.
    TestPDF document("scripts", 1);
    std::string names;
    for (const char* name : {"<FEFF0101>", "(z)", "<FF>", "<FEFF65E5672C>"}) {
        names += std::string(name) + " " + referenceTo(addAttachment(document, name)) + " ";
    }
    document.addCatalogEntry("/Names << /EmbeddedFiles << /Names [" + names + "] >> >>");
    Composition composition;
    const auto source = composition.source("s.pdf", document);
    const auto other = composition.source("o.pdf", attached("other", {"a.txt"}));
    EXPECT_THAT(composition.add(source).add(other).write().attachments(),
                ElementsAre("a.txt", "z", "ā", "日本", "ÿ"));
    EXPECT_THAT(outputOf({"pdfdetach", "-list", (composition.folder() / "out.pdf").string()}),
                HasSubstr("5 embedded files"));
}

TEST(Attachments, OfThousandsAreAllFound) {
    TestPDF document("many", 1);
    std::string names;
    for (int i = 1000; i < 3000; ++i) {
        names += "(" + std::to_string(i) + ") " +
                 referenceTo(addAttachment(document, "file " + std::to_string(i))) + " ";
    }
    document.addCatalogEntry("/Names << /EmbeddedFiles << /Names [" + names + "] >> >>");
    Composition composition;
    const auto source = composition.source("m.pdf", document);
    const auto other = composition.source("o.pdf", TestPDF("other", 1));
    EXPECT_THAT(composition.add(source).add(other).write().attachments(), SizeIs(2000));
    EXPECT_EQ(attachment(composition, "1000"), "file 1000");
    EXPECT_EQ(attachment(composition, "1255"), "file 1255");
    EXPECT_EQ(attachment(composition, "1256"), "file 1256");
    EXPECT_EQ(attachment(composition, "2999"), "file 2999");
}

TEST(Attachments, OnPagesStayOnThem) {
    TestPDF document("paperclip", 2);
    document.addPageEntry(0, "/Annots [<< /Type /Annot /Subtype /FileAttachment /Rect [0 0 9 9] "
                             "/FS " +
                                 referenceTo(addAttachment(document, "clipped")) + " >>]");
    Composition composition;
    const auto source = composition.source("p.pdf", document);
    EXPECT_THAT(composition.add(source, {1}).write().annotations(1), SizeIs(1));
    EXPECT_NE(outputOf({"pdfdetach", "-list", (composition.folder() / "out.pdf").string()})
                  .find("notes.txt"),
              std::string::npos);
    composition.add(source, {2}).writeChecked();
    EXPECT_EQ(readFile(composition.folder() / "out.pdf").find("clipped"), std::string::npos);
}

TestPDF scripted(const std::string& name, bool withField) {
    TestPDF document(name, 2);
    document.addCatalogEntry("/Names << /JavaScript << /Names [(init) << /S /JavaScript /JS (" +
                             name + ") >>] >> >>");
    if (withField) {
        const std::size_t field = document.addObject(
            "<< /Type /Annot /Subtype /Widget /FT /Tx /T (" + name + ") /Rect [0 0 9 9] >>");
        document.addPageEntry(0, "/Annots [" + referenceTo(field) + "]");
        document.addCatalogEntry("/AcroForm << /Fields [" + referenceTo(field) + "] >>");
    }
    return document;
}

TEST(DocumentScripts, ComeAlongWithTheFieldsThatCallThem) {
    Composition composition;
    const auto form = composition.source("form.pdf", scripted("form", true));
    const auto other = composition.source("other.pdf", scripted("other", true));
    const auto plain = composition.source("plain.pdf", scripted("plain", false));
    EXPECT_THAT(composition.add(form).add(other).add(plain).write().names("/JavaScript"),
                ElementsAre("init", "init (2)"));
    EXPECT_THAT(composition.add(form, {2}).write().names("/JavaScript"), IsEmpty());
    EXPECT_THAT(composition.add(plain).write().names("/JavaScript"), ElementsAre("init"));
}

} // namespace
} // namespace quillorn::tests
