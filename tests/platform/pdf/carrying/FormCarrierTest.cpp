#include "tests/platform/pdf/carrying/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

/// A document under construction whose annotations and fields are collected.
class FormDocument {
public:
    FormDocument(const std::string& name, std::size_t pages)
        : document(name, pages), m_annotations(pages) {}

    /// Adds an annotation to a page (counted from 1); returns its object number.
    std::size_t widget(std::size_t page, const std::string& entries) {
        const std::size_t number =
            document.addObject("<< /Type /Annot /Subtype /Widget /Rect [10 10 90 30] /P " +
                               referenceTo(document.pageObject(page - 1)) + " " + entries + " >>");
        place(page, number);
        return number;
    }
    void place(std::size_t page, std::size_t number) {
        m_annotations.at(page - 1) += referenceTo(number) + " ";
    }
    std::size_t textField(std::size_t page, const std::string& name, const std::string& value,
                          const std::string& more = "/DA (/Helv 12 Tf 0 g)") {
        const std::size_t number =
            widget(page, "/FT /Tx /T (" + name + ") /V (" + value + ") " + more);
        field(number);
        return number;
    }
    void field(std::size_t number) { m_fields += referenceTo(number) + " "; }

    /// The document with its form, whose other entries these are.
    TestPDF& finish(const std::string& form = "/DR << /Font << /Helv 3 0 R >> >>") {
        for (std::size_t i = 0; i < m_annotations.size(); ++i) {
            if (!m_annotations[i].empty()) {
                document.addPageEntry(i, "/Annots [" + m_annotations[i] + "]");
            }
        }
        return document.addCatalogEntry("/AcroForm << /Fields [" + m_fields + "] " + form + " >>");
    }

    TestPDF document;

private:
    std::vector<std::string> m_annotations;
    std::string m_fields;
};

/// A form whose fields readers are to draw, and which has a font for it.
constexpr const char* askingForm = "/NeedAppearances true /DR << /Font << /Helv 3 0 R >> >>";

/// A field's picture that shows a text.
std::string fieldPicture(const std::string& text) {
    const std::string content = "/Tx BMC BT /F 10 Tf 2 5 Td (" + text + ") Tj ET EMC";
    return "<< /Type /XObject /Subtype /Form /BBox [0 0 80 20] /Resources << /Font << /F 3 0 R >> "
           ">> /Length " +
           std::to_string(content.size()) + " >>\nstream\n" + content + "\nendstream";
}

nlohmann::json formOf(const WrittenPDF& file) {
    return file.entry(file.catalog(), "/AcroForm");
}

TEST(Forms, KeepTheFieldsOfThePagesThatStay) {
    FormDocument form("form", 3);
    form.textField(1, "first", "1");
    form.textField(2, "second", "2");
    form.textField(3, "third", "3");
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    const WrittenPDF file = composition.add(source, {3, 1}).write();
    EXPECT_THAT(file.fields(),
                UnorderedElementsAre(Pair("first", "/Tx (1) on 2"), Pair("third", "/Tx (3) on 1")));
}

TEST(Forms, AreGoneWhenNoFieldStays) {
    FormDocument form("form", 2);
    form.textField(1, "first", "1");
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_FALSE(composition.add(source, {2}).write().catalog().contains("/AcroForm"));
}

TEST(Forms, KeepOneFieldOnSeveralPagesOneField) {
    FormDocument form("spread", 3);
    const std::size_t field = form.document.nextObject() + 3;
    const std::string parent = "/Parent " + referenceTo(field);
    const std::size_t first = form.widget(1, parent);
    const std::size_t second = form.widget(2, parent);
    const std::size_t third = form.widget(3, parent);
    form.document.addObject("<< /FT /Tx /T (spread) /V (same) /Kids [" + referenceTo(first) + " " +
                            referenceTo(second) + " " + referenceTo(third) + "] >>");
    form.field(field);
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_THAT(composition.add(source, {3, 1}).write().fields(),
                ElementsAre(Pair("spread", "/Tx (same) on 2 1")));
    EXPECT_THAT(composition.add(source, {3, 2, 1}).write().fields(),
                ElementsAre(Pair("spread", "/Tx (same) on 3 2 1")));
}

TEST(Forms, KeepHierarchies) {
    FormDocument form("tree", 2);
    const std::size_t person = form.document.nextObject() + 2;
    const std::string parent = "/Parent " + referenceTo(person);
    const std::size_t name = form.widget(1, parent + " /T (name) /V (Ada)");
    const std::size_t town = form.widget(2, parent + " /T (town) /V (London)");
    form.document.addObject("<< /FT /Tx /T (person) /Kids [" + referenceTo(name) + " " +
                            referenceTo(town) + "] >>");
    form.field(person);
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_THAT(composition.add(source, {2}).write().fields(),
                ElementsAre(Pair("person.town", "/Tx (London) on 1")));
    EXPECT_THAT(composition.add(source).write().fields(),
                ElementsAre(Pair("person.name", "/Tx (Ada) on 1"),
                            Pair("person.town", "/Tx (London) on 2")));
}

TEST(Forms, RenameWhatTwoDocumentsCallTheSame) {
    const auto form = [](const std::string& value) {
        FormDocument one(value, 1);
        one.textField(1, "name", value);
        one.textField(1, "only " + value, value);
        return one.finish();
    };
    Composition composition;
    const auto a = composition.source("a.pdf", form("a"));
    const auto b = composition.source("b.pdf", form("b"));
    const auto c = composition.source("c.pdf", form("c"));
    EXPECT_THAT(
        composition.add(a).add(b).add(c).write().fields(),
        UnorderedElementsAre(Pair("name", "/Tx (a) on 1"), Pair("only a", "/Tx (a) on 1"),
                             Pair("name (2)", "/Tx (b) on 2"), Pair("only b", "/Tx (b) on 2"),
                             Pair("name (3)", "/Tx (c) on 3"), Pair("only c", "/Tx (c) on 3")));
    EXPECT_EQ(composition.notes(), "field-renamed 1 (name) + 1 (name)");
}

TEST(Forms, LeaveTheNamesOfTheDocumentThatComesFirst) {
    FormDocument small("small", 3); // one page of three, so it is not what the output is made of
    small.textField(1, "name", "small");
    FormDocument whole("whole", 2);
    whole.textField(1, "name", "whole");
    Composition composition;
    const auto first = composition.source("small.pdf", small.finish());
    const auto second = composition.source("whole.pdf", whole.finish());
    EXPECT_THAT(composition.add(first, {1}).add(second).write().fields(),
                UnorderedElementsAre(Pair("name", "/Tx (small) on 1"),
                                     Pair("name (2)", "/Tx (whole) on 2")));
}

TEST(Forms, DoNotTakeANameThatIsTaken) {
    FormDocument one("one", 1);
    one.textField(1, "name", "1");
    one.textField(1, "name (2)", "2");
    FormDocument two("two", 1);
    two.textField(1, "name", "3");
    Composition composition;
    const auto a = composition.source("a.pdf", one.finish());
    const auto b = composition.source("b.pdf", two.finish());
    EXPECT_THAT(composition.add(a).add(b).write().fields(),
                UnorderedElementsAre(Pair("name", "/Tx (1) on 1"), Pair("name (2)", "/Tx (2) on 1"),
                                     Pair("name (3)", "/Tx (3) on 2")));
}

TEST(Forms, KeepTheirOwnDefaultsBesideAnothersDefaults) {
    FormDocument one("one", 1);
    one.textField(1, "one", "1", "");
    FormDocument two("two", 1);
    two.textField(1, "two", "2", "");
    const std::size_t times = two.document.addObject(
        "<< /Type /Font /Subtype /Type1 /BaseFont /Times-Roman /Encoding /WinAnsiEncoding >>");
    Composition composition;
    const auto a = composition.source(
        "a.pdf", one.finish("/DA (/F 10 Tf 1 g) /Q 1 /DR << /Font << /F 3 0 R >> >>"));
    const auto b = composition.source(
        "b.pdf", two.finish("/DA (/F 12 Tf 0 g) /Q 2 /NeedAppearances true /DR << /Font << /F " +
                            referenceTo(times) + " >> >>"));
    const WrittenPDF file = composition.add(a).add(b).write();
    const auto form = formOf(file);
    const auto first = file.annotations(1).at(0);
    const auto second = file.annotations(2).at(0);
    EXPECT_EQ(first["/DA"], "u:/F 10 Tf 1 g");
    EXPECT_EQ(first["/Q"], 1);
    EXPECT_EQ(second["/DA"], "u:/F_2 12 Tf 0 g");
    EXPECT_EQ(second["/Q"], 2);
    const auto fonts = file.entry(file.entry(form, "/DR"), "/Font");
    EXPECT_EQ(file.entry(fonts, "/F")["/BaseFont"], "/Helvetica");
    EXPECT_EQ(file.entry(fonts, "/F_2")["/BaseFont"], "/Times-Roman");
}

TEST(Forms, AskReadersToDrawFieldsWhereTheirSourceStandsAlone) {
    FormDocument one("one", 2);
    one.textField(1, "one", "value");
    Composition composition;
    const auto source = composition.source("a.pdf", one.finish(askingForm));
    const WrittenPDF file = composition.add(source, {1}).addBlank().write();
    EXPECT_EQ(formOf(file)["/NeedAppearances"], true);
    EXPECT_FALSE(file.annotations(1).at(0).contains("/AP"));
}

TEST(Forms, DrawFieldsThatReadersAreAskedToDrawBesideOthersThatStayAsTheyAre) {
    FormDocument asking("asking", 1);
    const std::string oldPicture =
        "/AP << /N " + referenceTo(asking.document.addObject(fieldPicture("outdated"))) + " >>";
    const std::string simple = "/DA (/Helv 12 Tf 0 g) ";
    asking.textField(1, "line", "fresh", simple + oldPicture);
    asking.widget(1, "/FT /Ch /Ff 131072 /T (choice) /V (second) /Opt [(first) (second)] " +
                         simple + oldPicture);
    asking.textField(1, "lines", "not drawn", simple + "/Ff 4096 " + oldPicture);
    asking.textField(1, "right", "not drawn", simple + "/Q 2 " + oldPicture);
    asking.widget(1, "/FT /Tx /T (greek) /V <feff03c0> " + simple + oldPicture);
    asking.textField(1, "strange", "not drawn", "/DA (/Absent 12 Tf) " + oldPicture);
    asking.widget(1, "/FT /Btn /T (button) /V /On /AS /On /AP << /N << /On 3 0 R >> >>");
    FormDocument other("other", 1);
    other.textField(1, "other", "ignored",
                    simple + "/AP << /N " +
                        referenceTo(other.document.addObject(fieldPicture("handmade"))) + " >>");
    Composition composition;
    const auto a = composition.source("a.pdf", asking.finish(askingForm));
    const auto b = composition.source("b.pdf", other.finish());
    const WrittenPDF file = composition.add(b).add(a).write();
    EXPECT_FALSE(formOf(file).contains("/NeedAppearances"));
    const std::vector<std::string> texts = pageTexts(composition.folder() / "out.pdf");
    EXPECT_THAT(texts.at(0), HasSubstr("handmade"));
    EXPECT_THAT(texts.at(1), HasSubstr("fresh"));
    EXPECT_THAT(texts.at(1), HasSubstr("second"));
    EXPECT_THAT(texts.at(1), Not(HasSubstr("outdated")));
    std::vector<bool> drawn;
    for (const auto& annotation : file.annotations(2)) {
        drawn.push_back(annotation.contains("/AP"));
    }
    EXPECT_THAT(drawn, ElementsAre(true, true, false, false, false, false, true));
}

TEST(Forms, ShareAFontThatIsTheSame) {
    const auto form = [](const std::string& name) {
        FormDocument one(name, 1);
        one.textField(1, name, name);
        return one.finish();
    };
    Composition composition;
    const auto a = composition.source("a.pdf", form("a"));
    const auto b = composition.source("b.pdf", form("b"));
    const WrittenPDF file = composition.add(a).add(b).write();
    EXPECT_THAT(file.entry(file.entry(formOf(file), "/DR"), "/Font"), SizeIs(1));
    EXPECT_EQ(file.annotations(2).at(0)["/DA"], "u:/Helv 12 Tf 0 g");
}

TEST(Forms, CalculateInTheirOrder) {
    FormDocument form("sum", 2);
    const std::size_t a = form.textField(1, "a", "1");
    const std::size_t b = form.textField(2, "b", "2");
    const std::size_t sum = form.textField(1, "sum", "3");
    Composition composition;
    const auto source =
        composition.source("form.pdf", form.finish("/CO [" + referenceTo(sum) + " " +
                                                   referenceTo(b) + " " + referenceTo(a) + "]"));
    const WrittenPDF file = composition.add(source, {1}).write();
    const auto order = formOf(file)["/CO"];
    ASSERT_THAT(order, SizeIs(2));
    EXPECT_EQ(file.text(file.resolved(order[0])["/T"]), "sum");
    EXPECT_EQ(file.text(file.resolved(order[1])["/T"]), "a");
}

TEST(Forms, KeepRadioButtonsAcrossPagesOneChoice) {
    FormDocument form("radio", 3);
    const std::size_t group = form.document.nextObject() + 2;
    const std::string parent = "/Parent " + referenceTo(group);
    const std::size_t yes =
        form.widget(1, parent + " /AS /yes /AP << /N << /yes 5 0 R /Off 5 0 R >> >>");
    const std::size_t no =
        form.widget(3, parent + " /AS /Off /AP << /N << /no 5 0 R /Off 5 0 R >> >>");
    form.document.addObject("<< /FT /Btn /Ff 49152 /T (choice) /V /yes /Kids [" + referenceTo(yes) +
                            " " + referenceTo(no) + "] >>");
    form.field(group);
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_THAT(composition.add(source, {1, 3}).write().fields(),
                ElementsAre(Pair("choice", "/Btn /yes on 1 2")));
}

TEST(Forms, KeepASignatureAsAPicture) {
    FormDocument form("signed", 2);
    const std::size_t value = form.document.addObject(
        "<< /Type /Sig /Filter /Adobe.PPKLite /SubFilter /adbe.pkcs7.detached /ByteRange [0 1 2 3] "
        "/Contents <00> >>");
    const std::size_t signature =
        form.widget(1, "/FT /Sig /T (signature) /V " + referenceTo(value) + " /AP << /N 5 0 R >>");
    form.field(signature);
    form.document.addCatalogEntry("/Perms << /DocMDP " + referenceTo(value) + " >>");
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish("/SigFlags 3"));
    const WrittenPDF file = composition.add(source).write();
    EXPECT_THAT(file.fields(), ElementsAre(Pair("signature", "/Sig on 1")));
    EXPECT_TRUE(file.annotations(1).at(0)["/AP"].contains("/N"));
    EXPECT_FALSE(formOf(file).contains("/SigFlags"));
    EXPECT_FALSE(file.catalog().contains("/Perms"));
    EXPECT_EQ(composition.notes(), "signature-invalid 1 (signature)");
}

TEST(Forms, DropXFAWithNoteUnlessTheDocumentIsUnchanged) {
    FormDocument form("xfa", 2);
    form.textField(1, "name", "x");
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish("/XFA [(template) 5 0 R]"));
    EXPECT_TRUE(formOf(composition.add(source).write()).contains("/XFA"));
    EXPECT_EQ(composition.notes(), "");
    EXPECT_FALSE(formOf(composition.add(source, {1}).write()).contains("/XFA"));
    EXPECT_EQ(composition.notes(), "xfa-dropped 1");
    // The description would lay the pages out in its own order.
    EXPECT_FALSE(formOf(composition.add(source, {2, 1}).write()).contains("/XFA"));
    EXPECT_EQ(composition.notes(), "xfa-dropped 1");
}

TEST(Forms, KeepWidgetsThatTheFormForgot) {
    FormDocument form("forgotten", 1);
    form.widget(1, "/FT /Tx /T (forgotten) /V (here)");
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_THAT(composition.add(source).write().fields(),
                ElementsAre(Pair("forgotten", "/Tx (here) on 1")));
}

TEST(Forms, KeepWidgetsThatForgotTheirField) {
    // The field lists its widgets, but they do not name it.
    FormDocument form("forgetful", 2);
    const std::size_t first = form.widget(1, "");
    const std::size_t second = form.widget(2, "");
    form.field(form.document.addObject("<< /FT /Tx /T (field) /V (value) /Kids [" +
                                       referenceTo(first) + " " + referenceTo(second) + "] >>"));
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_THAT(composition.add(source).write().fields(),
                ElementsAre(Pair("field", "/Tx (value) on 1 2")));
    EXPECT_THAT(composition.add(source, {2}).write().fields(),
                ElementsAre(Pair("field", "/Tx (value) on 1")));
}

TEST(Forms, KeepFieldsWithoutNames) {
    FormDocument form("nameless", 1);
    const std::size_t field = form.widget(1, "/FT /Tx /V (value)");
    form.field(field);
    Composition composition;
    const auto a = composition.source("a.pdf", form.finish());
    const auto b = composition.source("b.pdf", form.document);
    EXPECT_THAT(composition.add(a).add(b).write().fields(),
                ElementsAre(Pair("", "/Tx (value) on 1 & /Tx (value) on 2")));
}

TEST(Forms, OfAWholeDocumentKeepFieldsThatShowNowhere) {
    FormDocument form("hidden", 2);
    form.textField(1, "shown", "1");
    form.field(form.document.addObject("<< /FT /Tx /T (hidden) /V (2) >>"));
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_THAT(composition.add(source).write().fields(),
                UnorderedElementsAre(Pair("shown", "/Tx (1) on 1"), Pair("hidden", "/Tx (2) on")));
    EXPECT_THAT(composition.add(source, {1}).write().fields(),
                ElementsAre(Pair("shown", "/Tx (1) on 1")));
}

TEST(Forms, BringNothingOfPagesThatStayBehind) {
    FormDocument form("large", 2);
    const std::size_t field = form.document.nextObject() + 2;
    const std::string parent = "/Parent " + referenceTo(field);
    const std::size_t here = form.widget(1, parent);
    const std::size_t there = form.widget(2, parent + " /Contents (left behind)");
    form.document.addObject("<< /FT /Tx /T (field) /Kids [" + referenceTo(here) + " " +
                            referenceTo(there) + "] >>");
    form.field(field);
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    composition.add(source, {1}).writeChecked();
    EXPECT_EQ(readFile(composition.folder() / "out.pdf").find("left behind"), std::string::npos);
}

TEST(Forms, SurviveAWidgetWhoseParentIsAPage) {
    FormDocument form("odd", 2);
    form.textField(1, "odd", "1", "/Parent " + referenceTo(form.document.pageObject(1)));
    form.textField(1, "odder", "2", "/Parent 2 0 R");
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    for (const std::vector<std::size_t>& pages :
         std::vector<std::vector<std::size_t>>{{1}, {1, 2}, {2, 1}}) {
        const WrittenPDF file = composition.add(source, pages).write();
        const std::string page = std::to_string(pages.front() == 1 ? 1 : 2);
        EXPECT_THAT(file.fields(), UnorderedElementsAre(Pair("odd", "/Tx (1) on " + page),
                                                        Pair("odder", "/Tx (2) on " + page)));
        EXPECT_FALSE(file.page(1).contains("/T"));
        EXPECT_FALSE(file.page(1).contains("/DA"));
    }
}

TEST(Forms, RepeatedShowTheSameFieldOnEveryCopy) {
    FormDocument form("repeated", 2);
    form.textField(1, "name", "value",
                   "/MaxLen 9 /AA << /C << /S /JavaScript /JS (calc) >> /E << "
                   "/S /JavaScript /JS (enter) >> >>");
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    const WrittenPDF file = composition.add(source, {1, 2, 1, 1}).write();
    EXPECT_THAT(file.fields(), ElementsAre(Pair("name", "/Tx (value) on 1 3 4")));
    const auto field = file.resolved(formOf(file)["/Fields"][0]);
    EXPECT_EQ(field["/MaxLen"], 9);
    EXPECT_TRUE(field["/AA"].contains("/C"));
    EXPECT_FALSE(field["/AA"].contains("/E"));
    const auto widget = file.annotations(3).at(0);
    EXPECT_FALSE(widget.contains("/T"));
    EXPECT_FALSE(widget["/AA"].contains("/C"));
    EXPECT_TRUE(widget["/AA"].contains("/E"));
    EXPECT_EQ(file.pageNumber(widget["/P"]), 3U);
}

TEST(Forms, RepeatedKeepHierarchiesAndOrders) {
    FormDocument form("repeated", 1);
    const std::size_t parent = form.document.nextObject() + 1;
    const std::size_t name =
        form.widget(1, "/T (name) /FT /Tx /V (value) /Parent " + referenceTo(parent));
    form.document.addObject("<< /T (person) /Kids [" + referenceTo(name) + "] >>");
    form.field(parent);
    Composition composition;
    const auto source =
        composition.source("form.pdf", form.finish("/CO [" + referenceTo(name) + "]"));
    const WrittenPDF file = composition.add(source, {1, 1}).write();
    EXPECT_THAT(file.fields(), ElementsAre(Pair("person.name", "/Tx (value) on 1 2")));
    EXPECT_EQ(file.text(file.resolved(formOf(file)["/CO"][0])["/T"]), "name");
}

TEST(Forms, RepeatedRadioButtonsStayOneChoice) {
    FormDocument form("radio", 1);
    const std::size_t group = form.document.nextObject() + 2;
    const std::string parent = "/Parent " + referenceTo(group);
    const std::size_t yes = form.widget(1, parent + " /AS /yes");
    const std::size_t no = form.widget(1, parent + " /AS /Off");
    form.document.addObject("<< /FT /Btn /Ff 49152 /T (choice) /V /yes /Kids [" + referenceTo(yes) +
                            " " + referenceTo(no) + "] >>");
    form.field(group);
    Composition composition;
    const auto source = composition.source("form.pdf", form.finish());
    EXPECT_THAT(composition.add(source, {1, 1}).write().fields(),
                ElementsAre(Pair("choice", "/Btn /yes on 1 1 2 2")));
}

TEST(Forms, OfAnEncryptedFileAreReadable) {
    FormDocument form("secret", 2);
    form.textField(1, "name", "value");
    Composition composition;
    const auto plain = form.finish().writeTo(composition.folder() / "plain.pdf");
    const auto source = composition.open(
        encryptPDF(plain, composition.folder() / "locked.pdf", TestEncryption{"", "owner", {}}));
    EXPECT_THAT(composition.add(source, {1}).write().fields(),
                ElementsAre(Pair("name", "/Tx (value) on 1")));
}

TEST(Forms, WithoutAFormLeaveWidgetsAlone) {
    TestPDF document("loose", 2);
    document.addPageEntry(0, "/Annots [<< /Type /Annot /Subtype /Widget /Rect [0 0 9 9] >>]");
    Composition composition;
    const WrittenPDF file = composition.add(composition.source("l.pdf", document), {1, 1}).write();
    EXPECT_THAT(file.annotations(1), SizeIs(1));
    EXPECT_THAT(file.annotations(2), SizeIs(1));
    EXPECT_THAT(file.fields(), IsEmpty());
}

} // namespace
} // namespace quillorn::tests
