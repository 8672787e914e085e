#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/Program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

/// A document with an XMP packet that holds these properties.
TestPDF described(const std::string& name, const std::string& properties,
                  const std::string& information) {
    TestPDF document(name, 2);
    const std::string packet =
        "<?xpacket begin=\"\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?><x:xmpmeta "
        "xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
        "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description "
        "rdf:about=\"\" xmlns:pdf=\"http://ns.adobe.com/pdf/1.3/\" "
        "xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\" "
        "xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\">" +
        properties + "</rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
    const std::size_t metadata = document.addObject("<< /Type /Metadata /Subtype /XML /Length " +
                                                    std::to_string(packet.size()) +
                                                    " >>\nstream\n" + packet + "\nendstream");
    const std::size_t entries = document.addObject("<< " + information + " >>");
    return document.addCatalogEntry("/Metadata " + referenceTo(metadata))
        .addTrailerEntry("/Info " + referenceTo(entries));
}

std::string packetOf(const Composition& composition) {
    return outputOf({"pdfinfo", "-meta", (composition.folder() / "out.pdf").string()});
}

TEST(Description, OfASingleSourceStaysAndNamesTheProducerInBothPlaces) {
    Composition composition;
    const auto source = composition.source(
        "d.pdf", described("d",
                           "<pdf:Producer>Old</pdf:Producer><xmp:ModifyDate>2001-01-01"
                           "</xmp:ModifyDate><pdf:Keywords>kept</pdf:Keywords>",
                           "/Title (Kept) /Producer (Old) /ModDate (D:20010101) /Odd (kept too)"));
    const WrittenPDF file = composition.add(source, {1}).write();
    EXPECT_EQ(file.text(file.information()["/Title"]), "Kept");
    EXPECT_EQ(file.text(file.information()["/Odd"]), "kept too");
    EXPECT_EQ(file.text(file.information()["/Producer"]), "Quillorn Folivane");
    EXPECT_THAT(file.text(file.information()["/ModDate"]), Not(HasSubstr("2001")));
    const std::string packet = packetOf(composition);
    EXPECT_THAT(packet, HasSubstr("<pdf:Producer>Quillorn Folivane</pdf:Producer>"));
    EXPECT_THAT(packet, HasSubstr("<pdf:Keywords>kept</pdf:Keywords>"));
    EXPECT_THAT(packet, Not(HasSubstr("2001")));
}

TEST(Description, InAttributesIsKeptTrueToo) {
    Composition composition;
    TestPDF document = described("d", "", "/Producer (Old)");
    const auto source = composition.source(
        "d.pdf", described("d",
                           "<rdf:Description pdf:Producer=\"Old\" xmp:ModifyDate='2001'>"
                           "</rdf:Description>",
                           "/Producer (Old)"));
    composition.add(source).writeChecked();
    const std::string packet = packetOf(composition);
    EXPECT_THAT(packet, HasSubstr("pdf:Producer=\"Quillorn Folivane\""));
    EXPECT_THAT(packet, Not(HasSubstr("2001")));
}

TEST(Description, OfSeveralSourcesIsNew) {
    Composition composition;
    composition.options().title = "Both & <more>";
    const auto one = composition.source(
        "one.pdf", described("one", "<pdf:Keywords>one</pdf:Keywords>", "/Author (One)"));
    const auto two = composition.source("two.pdf", TestPDF("two", 1));
    const WrittenPDF file = composition.add(one).add(two).write();
    EXPECT_EQ(file.text(file.information()["/Title"]), "Both & <more>");
    EXPECT_FALSE(file.information().contains("/Author"));
    EXPECT_TRUE(file.information().contains("/CreationDate"));
    const std::string packet = packetOf(composition);
    EXPECT_THAT(packet, HasSubstr("Both &amp; &lt;more&gt;"));
    EXPECT_THAT(packet, Not(HasSubstr("one")));
}

TEST(Description, HasNoPacketWhereNoSourceHasOne) {
    Composition composition;
    const auto one = composition.source("one.pdf", TestPDF("one", 1));
    const auto two = composition.source("two.pdf", TestPDF("two", 1));
    EXPECT_FALSE(composition.add(one).add(two).write().catalog().contains("/Metadata"));
    EXPECT_FALSE(composition.add(one).write().catalog().contains("/Metadata"));
}

TEST(Description, TakesBackTheStatementToFollowAStandard) {
    Composition composition;
    const auto source = composition.source(
        "archive.pdf",
        described("archive",
                  "<pdfaid:part>2</pdfaid:part><pdfaid:conformance>B</pdfaid:conformance>"
                  "<pdf:Keywords>kept</pdf:Keywords>",
                  "/Title (Archive) /GTS_PDFXVersion (PDF/X-1)"));
    const WrittenPDF file = composition.add(source).write();
    const std::string packet = packetOf(composition);
    EXPECT_THAT(packet, Not(HasSubstr("<pdfaid:")));
    EXPECT_THAT(packet, HasSubstr("<pdf:Keywords>kept</pdf:Keywords>"));
    EXPECT_FALSE(file.information().contains("/GTS_PDFXVersion"));
    EXPECT_EQ(composition.notes(), "conformance-dropped 1");
}

TEST(Description, OfAnEncryptedSourceIsReadable) {
    Composition composition;
    const auto plain = described("secret", "<pdf:Keywords>secret</pdf:Keywords>",
                                 "/Title <FEFF00FC0062006500720065006C>")
                           .writeTo(composition.folder() / "plain.pdf");
    for (const char* password : {"", "user"}) {
        const auto locked = composition.open(encryptPDF(plain, composition.folder() / "locked.pdf",
                                                        TestEncryption{password, "owner", {}}));
        const auto source = locked->isLocked() ? locked->unlocked(password) : locked;
        ASSERT_TRUE(source);
        const WrittenPDF file = composition.add(*source, {2}).write();
        EXPECT_EQ(file.text(file.information()["/Title"]), "überel");
        EXPECT_THAT(packetOf(composition), HasSubstr("<pdf:Keywords>secret</pdf:Keywords>"));
    }
}

TEST(Description, LeavesOutWhatIsNoText) {
    TestPDF document("odd", 2);
    const std::size_t information =
        document.addObject("<< /Title (Odd) /Page 4 0 R /Trapped /True >>");
    Composition composition;
    const auto source =
        composition.source("o.pdf", document.addTrailerEntry("/Info " + referenceTo(information)));
    const WrittenPDF file = composition.add(source, {2}).write();
    EXPECT_FALSE(file.information().contains("/Page"));
    EXPECT_EQ(file.information()["/Trapped"], "/True");
}

TEST(Description, OfBlankPagesNamesTheGroup) {
    Composition composition;
    composition.options().title = "Blank";
    const WrittenPDF file = composition.addBlank().write();
    EXPECT_EQ(file.text(file.information()["/Title"]), "Blank");
}

TEST(Description, ThatIsNoTextWhereTextsBelongIsLeftOut) {
    Composition composition;
    const auto source = composition.source(
        "d.pdf", described("d", "",
                           "/Title /Name /Author true /Subject 5 /Keywords (kept) /Trapped /True "
                           "/Odd /NameToo"));
    const WrittenPDF file = composition.add(source).write();
    for (const char* const key : {"/Title", "/Author", "/Subject"}) {
        EXPECT_FALSE(file.information().contains(key)) << key;
    }
    EXPECT_EQ(file.text(file.information()["/Keywords"]), "kept");
    EXPECT_EQ(file.information()["/Trapped"], "/True");
    EXPECT_EQ(file.information()["/Odd"], "/NameToo");
}

TEST(Description, OfAFileWhoseNameIsNoTextIsWellFormed) {
    Composition composition;
    composition.options().title = "caf\xe9 \xed\xa0\x80 \xc3\xa9";
    const auto one = composition.source("one.pdf", described("one", "", ""));
    const auto two = composition.source("two.pdf", TestPDF("two", 1));
    composition.add(one).add(two).writeChecked();
    const std::string packet = packetOf(composition);
    EXPECT_EQ(packet.find("\xe9 "), std::string::npos);
    EXPECT_THAT(packet, HasSubstr("caf\xef\xbf\xbd "));
    EXPECT_THAT(packet, HasSubstr(" \xc3\xa9</rdf:li>"));
    EXPECT_EQ(packet.find("\xed\xa0\x80"), std::string::npos);
}

} // namespace
} // namespace quillorn::tests
