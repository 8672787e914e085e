#include "platform/pdf/BoundedData.h"

#include "platform/pdf/DecodingBudget.h"

#include <algorithm>
#include <cstdint>
#include <qpdf/Pipeline.hh>
#include <stdexcept>
#include <vector>

namespace quillorn {

namespace {

/// Scraps of data have their overhead.
constexpr std::uint64_t smallestBudget = 64U << 10U;

class BoundedString : public Pipeline {
public:
    explicit BoundedString(std::size_t limit) : Pipeline("bounded", nullptr), m_limit(limit) {}

    [[nodiscard]] std::size_t size() const { return m_text.size(); }

    void write(unsigned char const* data, size_t length) override {
        if (length > m_limit - m_text.size()) {
            throw std::length_error("the stream is too long");
        }
        m_text.append(reinterpret_cast<const char*>(data), length);
    }
    void finish() override {}
    /// What comes next belongs to another token.
    void separate() {
        if (!m_text.empty() && m_text.back() != '\n') {
            write(reinterpret_cast<unsigned char const*>("\n"), 1);
        }
    }
    [[nodiscard]] std::string take() { return std::move(m_text); }

private:
    std::size_t m_limit;
    std::string m_text;
};

/// Reads what says how a stream is to be decoded. Otherwise libqpdf would when it decodes it, and
/// would charge the object streams that it finds this in to the wrong budget.
void readFilters(QPDFObjectHandle dictionary) {
    for (const char* key : {"/Filter", "/DecodeParms"}) {
        QPDFObjectHandle stated = dictionary.getKey(key);
        for (QPDFObjectHandle& item :
             stated.isArray() ? stated.getArrayAsVector() : std::vector<QPDFObjectHandle>{stated}) {
            if (item.isDictionary()) {
                for (auto& [name, value] : item.getDictAsMap()) {
                    static_cast<void>(value.isInteger());
                }
            }
        }
    }
}

bool decodeStream(QPDFObjectHandle stream, DecodingBudget& budget, BoundedString& text) {
    readFilters(stream.getDict());
    const DecodingScope scope(budget);
    return stream.pipeStreamData(&text, 0, qpdf_dl_generalized, true);
}

/// The streams that make up a page's contents; others among them count as empty.
std::vector<QPDFObjectHandle> contentStreams(QPDFObjectHandle page) {
    QPDFObjectHandle contents = page.getKey("/Contents");
    std::vector<QPDFObjectHandle> streams =
        contents.isArray() ? contents.getArrayAsVector() : std::vector<QPDFObjectHandle>{contents};
    std::erase_if(streams, [](QPDFObjectHandle& item) { return !item.isStream(); });
    return streams;
}

} // namespace

std::optional<std::string> decodedData(QPDFObjectHandle object, std::size_t limit,
                                       bool pageContents, std::size_t* produced) {
    BoundedString text(limit);
    // The stages before the last are bounded, too: they could make gigabytes that the last drops.
    DecodingBudget budget(2 * static_cast<std::uint64_t>(limit) + smallestBudget);
    const std::uint64_t before = budget.left();
    bool complete = true;
    try {
        if (pageContents) {
            for (const QPDFObjectHandle& stream : contentStreams(object)) {
                complete = complete && decodeStream(stream, budget, text);
                text.separate();
            }
        } else {
            complete = object.isStream() && decodeStream(object, budget, text);
        }
    } catch (const std::exception&) {
        complete = false; // the caller goes on without the data, as documented
    }
    if (produced != nullptr) {
        const std::uint64_t decoded = std::max<std::uint64_t>(text.size(), before - budget.left());
        *produced = static_cast<std::size_t>(std::min<std::uint64_t>(decoded, limit));
    }
    return complete ? std::optional(text.take()) : std::nullopt;
}

} // namespace quillorn
