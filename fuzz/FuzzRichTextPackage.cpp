#include "platform/office/DocumentKind.h"
#include "platform/office/RichTextPackage.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// Any bytes are sniffed as a document and read as the text of a package, which must ask for
// attachments in the package itself only.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    static_cast<void>(quillorn::reasonAgainstDocument(std::span(bytes.data(), bytes.size())));
    static_cast<void>(quillorn::withAttachments(bytes, [](const std::string& name) {
        if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos ||
            name.find('\0') != std::string::npos) {
            std::fprintf(stderr, "fuzz-rtfd: a name leads elsewhere\n");
            std::abort();
        }
        return std::optional<std::string>("\xFF\xD8\xFF");
    }));
    return 0;
}
