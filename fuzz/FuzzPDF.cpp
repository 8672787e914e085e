#include "platform/files/FileDescriptor.h"
#include "platform/files/PrivateFolder.h"
#include "platform/pdf/PDFDocument.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

// Any bytes are opened as a PDF, looked at and composed in two ways: one takes most of the file
// (the writer then changes the opened document itself), one takes a little of it (the writer then
// copies). What was written must open again with the same pages.

namespace {

namespace fs = std::filesystem;
using namespace quillorn;

/// More pages than this of one input only cost time.
constexpr std::size_t pagesOfInterest = 48;

/// The user password of the encrypted seeds.
constexpr const char* knownPassword = "view";

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "fuzz-pdf: %s\n", what.c_str());
    std::abort();
}

/// On a file system in memory where there is one: every input is written and flushed twice.
const fs::path& workFolder() {
    static const PrivateFolder folder = [] {
        const fs::path memory("/dev/shm");
        auto made =
            PrivateFolder::create(fs::is_directory(memory) ? memory : PrivateFolder::defaultBase());
        if (!made) {
            fail(made.error().reason);
        }
        return std::move(*made);
    }();
    return folder.path();
}

std::shared_ptr<const PDFSource> openSource(const fs::path& path) {
    auto source = PDFSource::open(path);
    if (source && (*source)->isLocked()) {
        source = (*source)->unlocked(knownPassword);
    }
    if (!source) {
        if (source.error().reason.empty()) {
            fail("refused without a message");
        }
        return nullptr;
    }
    return *source;
}

/// A page stated to be turned by something else than a quarter turn is brought into line when it
/// is turned further, so only its boxes are compared.
PDFPageGeometry comparable(PDFPageGeometry geometry, const PDFPageGeometry& stated) {
    geometry.rotation = stated.rotation % 90 == 0 ? (geometry.rotation % 360 + 360) % 360 : 0;
    return geometry;
}

std::string textOf(const PDFPageGeometry& geometry) {
    std::ostringstream text;
    text.precision(std::numeric_limits<double>::max_digits10);
    for (const PDFBox& box : {geometry.mediaBox, geometry.cropBox, geometry.bleedBox,
                              geometry.trimBox, geometry.artBox}) {
        text << box.left << ' ' << box.bottom << ' ' << box.right << ' ' << box.top << ", ";
    }
    text << "turned by " << geometry.rotation << ", unit " << geometry.userUnit << '\n';
    return text.str();
}

/// What was written opens, unencrypted, with these pages in this order.
void expectPages(const fs::path& output, const PDFDocument& document) {
    const auto opened = PDFSource::open(output);
    if (!opened) {
        fail("the output does not open: " + opened.error().reason);
    }
    if ((*opened)->isEncrypted() || (*opened)->pageCount() != document.pageCount()) {
        fail("the output has " + std::to_string((*opened)->pageCount()) + " pages instead of " +
             std::to_string(document.pageCount()));
    }
    for (std::size_t i = 0; i < document.pageCount(); ++i) {
        const auto expected = document.pageAtIndex(i)->geometry();
        const auto actual = (*opened)->geometry(i);
        if (!actual) {
            fail("page " + std::to_string(i) + " of the output cannot be read");
        }
        if (!expected) {
            continue;
        }
        const PDFPageGeometry before = comparable(*expected, *expected);
        const PDFPageGeometry after = comparable(*actual, *expected);
        if (after != before) {
            fail("page " + std::to_string(i) + " of the output has other boxes:\n" + textOf(after) +
                 "instead of\n" + textOf(before));
        }
    }
}

void compose(const PDFDocument& document) {
    const fs::path output = workFolder() / "output.pdf";
    PDFWriteOptions options;
    options.whenEmpty = PDFWriteOptions::WhenEmpty::noPages;
    const auto written = document.writeToFile(output, options);
    if (!written) {
        if (written.error().reason.empty() || fs::exists(output)) {
            fail("not written, but without a message or with a file");
        }
        return;
    }
    if (written->pages != document.pageCount() || written->bytes != fs::file_size(output)) {
        fail("the report of what was written is wrong");
    }
    expectPages(output, document);
    fs::remove(output);
}

void useDocument(const std::shared_ptr<const PDFSource>& source) {
    const std::size_t count = std::min(source->pageCount(), pagesOfInterest);
    for (std::size_t i = 0; i < count; ++i) {
        static_cast<void>(source->geometry(i)); // a page that cannot be read is an answer, too
    }
    if (const auto ranges = source->labelRanges()) {
        static_cast<void>(pageLabelText(*ranges, count));
    }

    const PDFDocument input(source);
    PDFDocument reversed;
    for (std::size_t i = 0; i < count; ++i) {
        const auto page = reversed.insertPageAtIndex(input.pageAtIndex(i), 0);
        page->addRotation(i % 3 == 1 ? 90 : 0);
    }
    if (count > 0) {
        reversed.insertPageAtIndex(input.pageAtIndex(0), count / 2);
    }
    compose(reversed);

    PDFDocument subset;
    for (std::size_t i = 1; i < count; i += 3) {
        subset.insertPageAtIndex(input.pageAtIndex(i), subset.pageCount());
    }
    subset.insertPageAtIndex(std::make_shared<PDFPage>(), subset.pageCount() / 2);
    compose(subset);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FileDescriptor input(::memfd_create("input.pdf", MFD_CLOEXEC));
    const fs::path path = "/proc/self/fd/" + std::to_string(input.get());
    if (!input.isOpen() ||
        !writeAll(input, path, std::span(reinterpret_cast<const char*>(data), size))) {
        fail("no place for the input");
    }
    if (const auto source = openSource(path)) {
        useDocument(source);
    }
    return 0;
}
