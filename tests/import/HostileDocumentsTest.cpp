#include "tests/fakes/TestServer.h"
#include "tests/import/TextConversion.h"

#include <algorithm>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class HostileDocumentsTest : public TextConversion {
protected:
    /// A Word document with this body, and relations of it to other places.
    [[nodiscard]] std::string wordDocument(const std::string& name, const std::string& body,
                                           const std::string& relations = {}) const {
        constexpr const char* script = R"(
import sys, zipfile
path, body, relations = sys.argv[1:]
office = 'http://schemas.openxmlformats.org/officeDocument/2006/relationships'
package = 'http://schemas.openxmlformats.org/package/2006/'
with zipfile.ZipFile(path, 'w', zipfile.ZIP_DEFLATED) as z:
    z.writestr('[Content_Types].xml', '<Types xmlns="' + package + 'content-types">'
        '<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>'
        '<Override PartName="/word/document.xml" ContentType="application/'
        'vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/>'
        '<Override PartName="/word/settings.xml" ContentType="application/'
        'vnd.openxmlformats-officedocument.wordprocessingml.settings+xml"/></Types>')
    z.writestr('_rels/.rels', '<Relationships xmlns="' + package + 'relationships"><Relationship Id="a"'
        ' Type="' + office + '/officeDocument" Target="word/document.xml"/></Relationships>')
    z.writestr('word/_rels/document.xml.rels', '<Relationships xmlns="' + package + 'relationships">'
        '<Relationship Id="s" Type="' + office + '/settings" Target="settings.xml"/>'
        + relations.replace('OFFICE', office) + '</Relationships>')
    z.writestr('word/_rels/settings.xml.rels', '<Relationships xmlns="' + package + 'relationships">'
        + relations.replace('OFFICE', office) + '</Relationships>')
    z.writestr('word/settings.xml', '<w:settings xmlns:w="http://schemas.openxmlformats.org/'
        'wordprocessingml/2006/main" xmlns:r="' + office + '"><w:attachedTemplate r:id="t"/></w:settings>')
    z.writestr('word/document.xml', '<w:document xmlns:w="http://schemas.openxmlformats.org/'
        'wordprocessingml/2006/main" xmlns:r="' + office + '" xmlns:v="urn:schemas-microsoft-com:vml"'
        ' xmlns:o="urn:schemas-microsoft-com:office:office"><w:body>' + body + '</w:body></w:document>')
)";
        const fs::path path = folder / "files" / name;
        const ProgramResult result =
            Program("python3", {"-c", script, path.string(), body, relations}).run();
        if (result.status != 0) {
            throw std::runtime_error(result.errors);
        }
        return path.string();
    }
    static std::string paragraph(const std::string& content) {
        return "<w:p><w:r>" + content + "</w:r></w:p>";
    }
};

TEST_F(HostileDocumentsTest, RichTextGetsNoOtherFileOfThisMachine) {
    const std::string secret = file("secret.txt", "secret");
    const std::string picture = (folder / "files" / "secret.png").string();
    ASSERT_EQ(Program("convert", {"-size", "8x8", "xc:red", picture}).run().status, 0);
    const auto field = [](const std::string& command) {
        return R"({\field{\*\fldinst )" + command + R"(}{\fldrslt none}})";
    };
    const std::string text = converted(file(
        "a.rtf", R"({\rtf1\ansi before )" + field("INCLUDETEXT \"" + secret + "\"") +
                     field("INCLUDEPICTURE \"" + picture + "\" \\\\d") +
                     field("INCLUDEPICTURE \"file://" + picture + "\"") +
                     field("LINK Word.Document.8 \"" + secret + "\" \"\" \\\\a") +
                     field("DDEAUTO soffice \"" + secret + "\" all") +
                     R"({\object\objautlink\objupdate{\*\objclass Word.Document}{\*\objdata )" +
                     R"(0105000002000000}{\result shown}}{\*\template )" + secret + R"(} after})"));
    EXPECT_THAT(text, HasSubstr("before"));
    EXPECT_THAT(text, HasSubstr("after"));
    EXPECT_THAT(text, Not(HasSubstr("secret")));
    const std::string pictures =
        Program("pdfimages", {"-list", (cache / "a.rtf").string()}).run().output;
    EXPECT_EQ(std::count(pictures.begin(), pictures.end(), '\n'), 2) << pictures; // its heading
}

TEST_F(HostileDocumentsTest, NothingIsFetchedFromOtherMachines) {
    const TestServer server([](const std::string& request) {
        return TestServer::page("text/plain", "fetched " + request);
    });
    const std::string url = server.url();
    EXPECT_THAT(converted(file(
                    "a.rtf", R"({\rtf1\ansi before {\field{\*\fldinst INCLUDEPICTURE ")" + url +
                                 R"(/a.png"}{\fldrslt}}{\field{\*\fldinst INCLUDETEXT ")" + url +
                                 R"(/a.txt"}{\fldrslt}}{\*\template )" + url + R"(/a.dot}after})")),
                HasSubstr("after"));
    const std::string document = wordDocument(
        "b.docx",
        paragraph("<w:t>before</w:t>") +
            paragraph(R"(<w:pict><v:shape style="width:9pt;height:9pt"><v:imagedata r:id="p"/>)"
                      "</v:shape></w:pict>") +
            paragraph(R"(<w:object><o:OLEObject Type="Link" ProgID="Word.Document.12" )"
                      R"(ShapeID="s" DrawAspect="Content" ObjectID="o" r:id="o" )"
                      R"(UpdateMode="Always"/></w:object>)") +
            paragraph("<w:t>after</w:t>"),
        R"(<Relationship Id="p" Type="OFFICE/image" Target=")" + url +
            R"(/a.png" TargetMode="External"/><Relationship Id="o" Type="OFFICE/oleObject" Target=")" +
            url +
            R"(/a.docx" TargetMode="External"/><Relationship Id="t" )"
            R"(Type="OFFICE/attachedTemplate" Target=")" +
            url + R"(/a.dotm" TargetMode="External"/>)");
    EXPECT_THAT(converted(document), HasSubstr("after"));
    EXPECT_EQ(server.visitors(), 0);
}

TEST_F(HostileDocumentsTest, AWordDocumentGetsNoOtherFileOfThisMachine) {
    const std::string secret = file("secret.rtf", R"({\rtf1 secret})");
    const std::string text = converted(wordDocument(
        "a.docx",
        paragraph("<w:t>before</w:t>") + R"(<w:altChunk r:id="c"/>)" +
            paragraph(R"(<w:fldChar w:fldCharType="begin"/></w:r><w:r><w:instrText>INCLUDETEXT ")" +
                      secret + R"("</w:instrText></w:r><w:r><w:fldChar w:fldCharType="end"/>)") +
            paragraph("<w:t>after</w:t>"),
        R"(<Relationship Id="c" Type="OFFICE/aFChunk" Target="file://)" + secret +
            R"(" TargetMode="External"/><Relationship Id="t" Type="OFFICE/attachedTemplate" )"
            R"(Target="file://)" +
            secret + R"(" TargetMode="External"/>)"));
    EXPECT_THAT(text, HasSubstr("after"));
    EXPECT_THAT(text, Not(HasSubstr("secret")));
}

TEST_F(HostileDocumentsTest, DocumentsThatWereCutAreRefusedOrPrinted) {
    std::string body;
    for (int i = 0; i < 300; ++i) {
        body += paragraph("<w:t>word " + std::to_string(i * 7919) + "</w:t>");
    }
    const std::string word = readFile(wordDocument("whole.docx", body));
    std::string rich = R"({\rtf1\ansi{\fonttbl{\f0 Liberation Sans;}}\f0 )";
    for (int i = 0; i < 300; ++i) {
        rich += R"({\b word} \'e9\u8364? )" + std::to_string(i) + R"(\par )";
    }
    rich += "}";
    for (const std::string& whole : {word, rich}) {
        for (std::size_t part = 1; part < 10; ++part) {
            const std::string cut =
                file("cut.docx", std::string_view(whole).substr(0, whole.size() * part / 10));
            const std::string text = converted(cut);
            EXPECT_THAT(text, testing::AnyOf(HasSubstr("refused: "), HasSubstr("word")));
            EXPECT_EQ(namesIn(cache).empty(), text.starts_with("refused: "));
        }
    }
    EXPECT_EQ(converted(file("letter.rtf", R"({\rtf1\ansi text})")), "text");
}

TEST_F(HostileDocumentsTest, AConversionThatEndsAtAnyPointLeavesNothing) {
    std::string text = R"({\rtf1\ansi )";
    for (int i = 0; i < 3000; ++i) {
        text += "some words that make a page " + std::to_string(i) + R"(\par )";
    }
    const std::string path = file("long.rtf", text + "}");
    int interrupted = 0;
    for (int limit = 1; limit < 400; limit += 40) {
        ConversionWorker::Options options = officeWorker();
        options.timeLimit = std::chrono::milliseconds(limit);
        TextEngines hasty{ConversionWorker(options)};
        RtfToPDF converter(hasty, cache);
        if (converter.convertRtfToPDF(path)) {
            EXPECT_EQ(complaintsAbout(cache / "long.rtf"), "");
            fs::remove(cache / "long.rtf");
        } else {
            ++interrupted;
            EXPECT_THAT(namesIn(cache), IsEmpty());
        }
    }
    EXPECT_GT(interrupted, 0);
}

} // namespace
} // namespace quillorn::tests
