#include "tests/fakes/WebArchiveFile.h"

#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <cstdint>
#include <stdexcept>

namespace quillorn::tests {

namespace {

std::string escaped(const std::string& text) {
    std::string result;
    for (const char ch : text) {
        result += ch == '<' ? "&lt;" : ch == '&' ? "&amp;" : std::string(1, ch);
    }
    return result;
}

/// Written for its own sake: the program's encoder is what is tested.
std::string base64(const std::string& bytes) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const char ch : bytes) {
        bits = bits << 8U | static_cast<unsigned char>(ch);
        for (count += 8; count >= 6; count -= 6) {
            text += digits[bits >> (count - 6U) & 63U];
        }
    }
    if (count > 0) {
        text += digits[bits << (6U - count) & 63U];
    }
    text.resize((text.size() + 3) / 4 * 4, '=');
    return text;
}

std::string xmlOf(const ArchivedResource& resource) {
    std::string xml = "<dict><key>WebResourceData</key><data>" + base64(resource.data) +
                      "</data><key>WebResourceURL</key><string>" + escaped(resource.url) +
                      "</string><key>WebResourceMIMEType</key><string>" +
                      escaped(resource.mimeType) + "</string>";
    if (!resource.encoding.empty()) {
        xml += "<key>WebResourceTextEncodingName</key><string>" + escaped(resource.encoding) +
               "</string>";
    }
    return xml + "</dict>";
}

std::string xmlOf(const ArchivedPage& page) {
    std::string xml =
        "<dict><key>WebMainResource</key>" + xmlOf(page.main) + "<key>WebSubresources</key><array>";
    for (const ArchivedResource& resource : page.resources) {
        xml += xmlOf(resource);
    }
    xml += "</array><key>WebSubframeArchives</key><array>";
    for (const ArchivedPage& frame : page.frames) {
        xml += xmlOf(frame);
    }
    return xml + "</array></dict>";
}

} // namespace

std::string xmlWebArchive(const ArchivedPage& page) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + xmlOf(page) +
           "</plist>\n";
}

std::string binaryWebArchive(const ArchivedPage& page) {
    const TemporaryFolder folder;
    writeFile(folder / "in", xmlWebArchive(page));
    const std::string script =
        "import plistlib,sys\n"
        "page = plistlib.load(open(sys.argv[1], 'rb'))\n"
        "plistlib.dump(page, open(sys.argv[2], 'wb'), fmt=plistlib.FMT_BINARY)";
    const ProgramResult result =
        Program("python3", {"-c", script, (folder / "in").string(), (folder / "out").string()})
            .run();
    if (result.status != 0) {
        throw std::runtime_error(result.errors);
    }
    return readFile(folder / "out");
}

} // namespace quillorn::tests
