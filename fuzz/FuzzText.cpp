#include "platform/office/text/TextDecoding.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// Any bytes are decoded as a text, which then holds no control characters but tabs, line ends and
// ends of pages.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text =
        quillorn::text::decodedText(std::string_view(reinterpret_cast<const char*>(data), size));
    if (!text) {
        return 0;
    }
    for (const char16_t character : *text) {
        if (character < u' ' && character != u'\t' && character != u'\n' && character != u'\f') {
            std::fprintf(stderr, "fuzz-text: a control character is left\n");
            std::abort();
        }
    }
    return 0;
}
