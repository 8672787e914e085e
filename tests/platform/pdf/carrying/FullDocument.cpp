#include "tests/platform/pdf/carrying/FullDocument.h"

namespace quillorn::tests {

namespace {

std::string streamObject(const std::string& entries, const std::string& data) {
    return "<< " + entries + " /Length " + std::to_string(data.size()) + " >>\nstream\n" + data +
           "\nendstream";
}

void addOutline(TestPDF& document, const std::string& name) {
    const std::size_t root = document.nextObject();
    const auto ref = [root](std::size_t offset) { return referenceTo(root + offset); };
    document.addObject("<< /Type /Outlines /First " + ref(1) + " /Last " + ref(3) + " /Count 3 >>");
    document.addObject("<< /Title (Start of " + name + ") /Parent " + ref(0) + " /Next " + ref(3) +
                       " /First " + ref(2) + " /Last " + ref(2) + " /Count 1 /Dest [" +
                       referenceTo(document.pageObject(0)) + " /XYZ 72 720 null]" +
                       " /C [1 0 0] /F 2 >>");
    document.addObject("<< /Title (Middle of " + name + ") /Parent " + ref(1) + " /A << /S /GoTo" +
                       " /D [" + referenceTo(document.pageObject(1)) + " /FitH 700] >> >>");
    document.addObject("<< /Title (End of " + name + ") /Parent " + ref(0) + " /Prev " + ref(1) +
                       " /Dest (chapter) >>");
    document.addCatalogEntry("/Outlines " + ref(0));
}

void addLinks(TestPDF& document, const std::string& name) {
    const std::string start = "<< /Type /Annot /Subtype /Link /Border [0 0 1] /Rect ";
    const std::size_t toPage =
        document.addObject(start + "[72 600 200 620] /Dest [" +
                           referenceTo(document.pageObject(2)) + " /XYZ 72 400 null] >>");
    const std::size_t toName =
        document.addObject(start + "[72 560 200 580] /A << /S /GoTo /D (chapter) >> >>");
    const std::size_t toWeb = document.addObject(
        start + "[72 520 200 540] /A << /S /URI /URI (http://example.org/" + name + ") >> >>");
    document.addPageEntry(0, "/Annots [" + referenceTo(toPage) + " " + referenceTo(toName) + " " +
                                 referenceTo(toWeb) + "]");
}

std::size_t addField(TestPDF& document, const std::string& name) {
    const std::string value = "value of " + name;
    const std::size_t appearance = document.addObject(streamObject(
        "/Type /XObject /Subtype /Form /BBox [0 0 200 20] /Resources << /Font << /Helv 3 0 R >> >>",
        "/Tx BMC q BT /Helv 12 Tf 2 6 Td (" + value + ") Tj ET Q EMC"));
    const std::size_t field = document.addObject(
        "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /V (" + value +
        ") /DA (/Helv 12 Tf 0 g) /Rect [72 500 272 520] /F 4 /P " +
        referenceTo(document.pageObject(1)) + " /AP << /N " + referenceTo(appearance) + " >> >>");
    document.addPageEntry(1, "/Annots [" + referenceTo(field) + "]");
    document.addCatalogEntry("/AcroForm << /Fields [" + referenceTo(field) +
                             "] /DA (/Helv 0 Tf 0 g) /DR << /Font << /Helv 3 0 R >> >> >>");
    return field;
}

std::string attachmentNames(TestPDF& document, const std::string& name) {
    const std::size_t file =
        document.addObject(streamObject("/Type /EmbeddedFile", "notes of " + name));
    const std::size_t fileEntry =
        document.addObject("<< /Type /Filespec /F (notes.txt) /UF (notes.txt) /EF << /F " +
                           referenceTo(file) + " >> >>");
    return "/EmbeddedFiles << /Names [(notes.txt) " + referenceTo(fileEntry) + "] >>";
}

} // namespace

TestPDF fullDocument(const std::string& name) {
    TestPDF document(name, 4);
    addOutline(document, name);
    addLinks(document, name);
    addField(document, name);
    const std::string attachments = attachmentNames(document, name);
    document.addCatalogEntry("/Names << " + attachments + " /Dests << /Names [(chapter) [" +
                             referenceTo(document.pageObject(3)) + " /XYZ 72 500 null]] >> >>");
    document.setLabels("0 << /S /r >>");
    const std::size_t information = document.addObject(
        "<< /Title (Title of " + name + ") /Author (Author of " + name + ") /Subject (Subject of " +
        name + ") /Keywords (Keywords of " + name + ") /Producer (a test) >>");
    return document.addTrailerEntry("/Info " + referenceTo(information));
}

} // namespace quillorn::tests
