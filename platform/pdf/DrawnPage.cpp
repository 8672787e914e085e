#include "platform/pdf/DrawnPage.h"

#include "platform/pdf/BoundedFilters.h"
#include "platform/pdf/ObjectCopier.h"
#include "platform/pdf/PageTree.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <qpdf/Buffer.hh>
#include <qpdf/BufferInputSource.hh>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

/// Numbers, names, references, and beginnings of containers. A gradient takes some hundreds of
/// them, so this is enough for two thousand gradients and more; each costs up to 200 bytes of
/// memory.
constexpr std::uint64_t mostObjects = 2'000'000;
constexpr const char* tooManyObjects = "it consists of too many objects";

/// How many objects bytes of a PDF can be at most: words, and what begins something.
std::uint64_t objectsIn(std::string_view bytes) {
    constexpr std::string_view beginnings = "[<(/";
    constexpr std::string_view others(" \n\r\t\f\0])>{}%", 12);
    std::uint64_t count = 0;
    bool isInWord = false;
    for (const char letter : bytes) {
        const bool begins = beginnings.find(letter) != std::string_view::npos;
        const bool isOfWord = !begins && others.find(letter) == std::string_view::npos;
        count += begins || (isOfWord && !isInWord) ? 1 : 0;
        isInWord = isOfWord || letter == '/';
    }
    return count;
}

/// Feeds libqpdf from memory, and counts the objects that it reads there until told that the
/// objects are read.
class CountedInput : public InputSource {
public:
    explicit CountedInput(std::span<const char> bytes)
        : m_buffer(
              // A Buffer of this kind is only read from.
              reinterpret_cast<unsigned char*>(
                  const_cast<char*>(bytes.data())), // NOLINT(cppcoreguidelines-pro-type-*)
              bytes.size()),
          m_input("drawing", &m_buffer) {}

    qpdf_offset_t findAndSkipNextEOL() override {
        count(1); // of what is passed over nothing becomes an object
        return m_input.findAndSkipNextEOL();
    }
    std::string const& getName() const override { return m_input.getName(); }
    qpdf_offset_t tell() override { return m_input.tell(); }
    void seek(qpdf_offset_t offset, int whence) override { m_input.seek(offset, whence); }
    void rewind() override { m_input.rewind(); }
    size_t read(char* destination, size_t length) override {
        const size_t got = m_input.read(destination, length);
        setLastOffset(m_input.getLastOffset());
        count(objectsIn({destination, got}));
        return got;
    }
    void unreadCh(char ch) override { m_input.unreadCh(ch); }

    void stopCounting() { m_counts = false; }
    [[nodiscard]] bool isExceeded() const { return m_counted > mostObjects; }

private:
    void count(std::uint64_t objects) {
        if (!m_counts) {
            return;
        }
        m_counted += objects;
        if (isExceeded()) {
            // libqpdf takes this for damage of one object and goes on; every further one fails too.
            throw std::runtime_error(tooManyObjects);
        }
    }

    Buffer m_buffer;
    BufferInputSource m_input;
    std::uint64_t m_counted = 0;
    bool m_counts = true;
};

PDFBox boxOf(QPDFObjectHandle array) {
    if (!array.isRectangle()) {
        throw std::runtime_error("its page has no size");
    }
    const QPDFObjectHandle::Rectangle edges = array.getArrayAsRectangle();
    const PDFBox box{edges.llx, edges.lly, edges.urx, edges.ury};
    if (!(box.width() > 0) || !(box.height() > 0)) {
        throw std::runtime_error("its page has no size");
    }
    return box;
}

/// The program's own drawings have one stream a page; anything else would have to be unpacked.
QPDFObjectHandle copiedPage(QPDF& source, ObjectCopier& copier, PDFBox& mediaBox) {
    const PageTree pages(source, PageTree::Reading::thorough);
    if (pages.pageCount() == 0) {
        throw std::runtime_error("it has no page");
    }
    const QPDFObjectHandle box = pages.attribute(0, "/MediaBox");
    mediaBox = boxOf(box);
    QPDFObjectHandle contents = pages.page(0).getKey("/Contents");
    if (!contents.isStream()) {
        throw std::runtime_error("its page shows nothing");
    }
    QPDFObjectHandle form = copier.copy(contents);
    QPDFObjectHandle entries = form.getDict();
    entries.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    entries.replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    entries.replaceKey("/BBox", copier.copy(box));
    entries.replaceKey("/Resources", copier.copy(pages.attribute(0, "/Resources")));
    return form;
}

} // namespace

DrawnPage::DrawnPage(QPDF& destination, std::span<const char> pdf) {
    installBoundedFilters();
    auto input = std::make_shared<CountedInput>(pdf);
    m_source.setSuppressWarnings(true);
    m_source.setAttemptRecovery(false);
    try {
        m_source.processInputSource(input);
        ObjectCopier copier(destination);
        m_form = copiedPage(m_source, copier, m_mediaBox);
    } catch (const std::exception&) {
        if (input->isExceeded()) {
            throw std::runtime_error(tooManyObjects);
        }
        throw;
    }
    if (input->isExceeded()) {
        throw std::runtime_error(tooManyObjects);
    }
    if (m_source.anyWarnings()) {
        throw std::runtime_error("it is damaged");
    }
    input->stopCounting();
}

} // namespace quillorn
