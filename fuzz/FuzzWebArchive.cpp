#include "platform/print/PageRules.h"
#include "platform/print/WebArchive.h"
#include "platform/print/WebURL.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// Any bytes are read as a web archive, whose main page must then be found, and as a style sheet,
// which must have no rules for pages left afterwards.

namespace {

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "fuzz-webarchive: %s\n", what);
    std::abort();
}

void readArchive(std::string_view bytes) {
    const auto archive = quillorn::WebArchive::parse(bytes);
    if (!archive) {
        if (archive.error().empty()) {
            fail("refused without a reason");
        }
        return;
    }
    const std::string& start = (*archive)->startURL();
    const auto main = (*archive)->find(start);
    if (!main || (*archive)->resourceCount() == 0) {
        fail("the main page is not found");
    }
    if (main->mimeType.find_first_of("\r\n") != std::string::npos) {
        fail("a type breaks the line of its header");
    }
    static_cast<void>((*archive)->find(start + "#part"));
    static_cast<void>(quillorn::pathOfFileURL(start));
}

void readStyleSheet(std::string_view text) {
    const auto changed = quillorn::withoutPageRules(text);
    if (changed && (changed->size() != text.size() || quillorn::withoutPageRules(*changed))) {
        fail("rules for pages are left");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    readArchive(bytes);
    readStyleSheet(bytes);
    return 0;
}
