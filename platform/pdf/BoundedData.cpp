#include "platform/pdf/BoundedData.h"

#include <qpdf/Pipeline.hh>
#include <stdexcept>

namespace quillorn {

namespace {

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
    [[nodiscard]] std::string take() { return std::move(m_text); }

private:
    std::size_t m_limit;
    std::string m_text;
};

} // namespace

std::optional<std::string> decodedData(QPDFObjectHandle object, std::size_t limit,
                                       bool pageContents, std::size_t* produced) {
    BoundedString text(limit);
    bool complete = false;
    try {
        if (pageContents) {
            object.pipePageContents(&text);
            complete = true;
        } else {
            complete =
                object.isStream() && object.pipeStreamData(&text, 0, qpdf_dl_generalized, true);
        }
    } catch (const std::exception&) {
        complete = false; // the caller goes on without the data, as documented
    }
    if (produced != nullptr) {
        *produced = text.size();
    }
    return complete ? std::optional(text.take()) : std::nullopt;
}

} // namespace quillorn
