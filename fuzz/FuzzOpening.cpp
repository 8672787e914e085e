#include "platform/pdf/OpeningFacts.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <sys/mman.h>

// Any bytes are opened in the quick way. Where that finds something, libqpdf finds the same.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillorn;
    FileDescriptor file(::memfd_create("input.pdf", MFD_CLOEXEC));
    const PDFReaderInput input{std::make_shared<const FileDescriptor>(std::move(file)), "input.pdf",
                               size, ""};
    if (!writeAll(*input.descriptor, input.path,
                  std::span(reinterpret_cast<const char*>(data), size))) {
        std::fprintf(stderr, "fuzz-opening: no place for the input\n");
        std::abort();
    }
    const auto facts = readOpeningFacts(input);
    if (facts && facts != openingFactsByLibrary(input)) {
        std::fprintf(stderr, "fuzz-opening: libqpdf finds something else\n");
        std::abort();
    }
    return 0;
}
