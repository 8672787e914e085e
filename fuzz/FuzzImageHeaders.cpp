#include "platform/files/FileDescriptor.h"
#include "platform/imaging/ImageFormat.h"
#include "platform/imaging/JPEG2000Header.h"
#include "platform/imaging/JPEGHeader.h"
#include "platform/imaging/PNGHeader.h"
#include "platform/imaging/SmallHeaders.h"
#include "platform/imaging/TIFFHeader.h"
#include "platform/imaging/WorkerReply.h"
#include "platform/imaging/worker/DrawingFrame.h"
#include "platform/imaging/worker/DrawingText.h"
#include "platform/imaging/worker/TGADecoder.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <variant>
#include <vector>

// Any bytes are read by every parser of image headers of our own, whatever they look like, as the
// answer of a worker, and by our own decoder. What a parser promises is checked.

namespace {

using namespace quillorn;

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "fuzz-image: %s\n", what.c_str());
    std::abort();
}

void check(bool condition, const char* promise) {
    if (!condition) {
        fail(promise);
    }
}

void checkFacts(const ImageFacts& facts) {
    check(facts.orientation >= 1 && facts.orientation <= 8, "an orientation is 1 to 8");
    check(facts.components >= 0 && facts.bitsPerComponent >= 0, "numbers are not negative");
    if (facts.density.isUsable()) {
        check(facts.density.horizontal > 0 && facts.density.vertical > 0, "a density is positive");
    }
}

void readJPEG(std::span<const char> bytes) {
    const auto facts = readJPEGHeader(bytes);
    if (!facts) {
        return;
    }
    checkFacts(*facts);
    check(facts->hasSize(), "a JPEG file has a size");
    check(!facts->suitsPDF() || facts->isComplete, "only whole JPEG files go into a PDF");
    check(facts->iccProfile.empty() || isProfileFor(facts->iccProfile, facts->components),
          "a profile fits its image");
}

void readJPEG2000(std::span<const char> bytes) {
    const auto facts = readJPEG2000Header(bytes);
    if (!facts) {
        return;
    }
    checkFacts(*facts);
    if (!facts->suitsPDF()) {
        return;
    }
    check(facts->hasSize(), "what suits a PDF has a size");
    if (facts->isBareCodestream) {
        std::vector<char> file = jp2BoxesBefore(*facts);
        file.insert(file.end(), bytes.begin(), bytes.end());
        const auto wrapped = readJPEG2000Header(file);
        check(wrapped && wrapped->suitsPDF() && wrapped->width == facts->width &&
                  wrapped->height == facts->height && wrapped->components == facts->components,
              "boxes around a codestream do not change it");
    }
}

void readPNG(std::span<const char> bytes) {
    const auto facts = readPNGHeader(bytes);
    if (!facts) {
        return;
    }
    checkFacts(*facts);
    check(facts->hasSize(), "a PNG file has a size");
    static_cast<void>(hasWholeImageData(*facts));
    const std::vector<char> profile = unpackedProfile(*facts);
    check(profile.empty() || isProfileFor(profile, 1) || isProfileFor(profile, 3),
          "a profile fits its image");
}

void readOthers(std::span<const char> bytes) {
    if (const auto tiff = readTIFFHeader(bytes)) {
        checkFacts(*tiff);
    }
    for (const auto& facts : {readBMPHeader(bytes), readWebPHeader(bytes), readPSDHeader(bytes),
                              readGIFHeader(bytes), readTGAHeader(bytes)}) {
        if (facts) {
            checkFacts(*facts);
        }
    }
    const auto inner = largestFileInICNS(bytes);
    check(inner.empty() || (inner.data() >= bytes.data() &&
                            inner.data() + inner.size() <= bytes.data() + bytes.size()),
          "a file inside an icon lies inside it");
    for (const char* const extension : {"", "tga", "svg", "svgz"}) {
        if (const auto format = recogniseImage(bytes, extension)) {
            check(imageFormatNamed(imageFormatName(*format)) == format, "a format has a name");
        }
    }
}

void readDrawing(std::span<const char> bytes) {
    constexpr std::uint64_t limit = 1U << 16U;
    const auto text = worker::readDrawingText(bytes, limit);
    if (!text) {
        check(!text.error().empty(), "a refusal has a reason");
        return;
    }
    check(text->size() <= limit, "a drawing's text is bounded");
    // Behind a document type nothing is declared.
    check(!text->starts_with("<!DOCTYPE") && !text->starts_with("<?"), "only elements are left");
    const worker::DrawingFrame frame = worker::readDrawingFrame(*text);
    check(frame.width >= 0 && frame.height >= 0, "a size is none below zero");
    check(frame.width == 0 || frame.viewBox, "what has a size has a view box");
    if (frame.viewBox) {
        check(frame.viewBox->width > 0 && frame.viewBox->height > 0, "a view box has a size");
    }
}

ImageLimits smallLimits() {
    ImageLimits limits;
    limits.pixels = 1U << 16U;
    limits.side = 1U << 12U;
    return limits;
}

void readAnswer(std::span<const char> bytes) {
    static const FileDescriptor file(::memfd_create("answer", MFD_CLOEXEC));
    if (::ftruncate(file.get(), 0) != 0 || ::lseek(file.get(), 0, SEEK_SET) != 0 ||
        !writeAll(file, "answer", bytes)) {
        fail("no place for the input");
    }
    for (const ImageFormat asked : {ImageFormat::png, ImageFormat::svg}) {
        const auto answer = readWorkerReply(file, asked, smallLimits());
        if (!answer || !answer->image) {
            continue;
        }
        const auto* const image = std::get_if<PackedImage>(&*answer->image);
        check((image == nullptr) == (asked == ImageFormat::svg), "an answer is what was asked for");
        check(image == nullptr || smallLimits().allowSize(image->width, image->height),
              "sizes are within the limits");
    }
}

void decode(std::span<const char> bytes) {
    const worker::Task task{ImageFormat::tga, smallLimits()};
    const auto decoded = worker::decodeTGA(task, std::vector<char>(bytes.begin(), bytes.end()));
    check(decoded || !decoded.error().reason.empty(), "a refusal has a reason");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span bytes(reinterpret_cast<const char*>(data), size);
    readJPEG(bytes);
    readJPEG2000(bytes);
    readPNG(bytes);
    readOthers(bytes);
    readDrawing(bytes);
    readAnswer(bytes);
    decode(bytes);
    return 0;
}
