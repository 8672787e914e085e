#include "platform/pdf/BoundedData.h"

#include <qpdf/Pipeline.hh>
#include <stdexcept>

namespace quillorn {

namespace {

class BoundedString : public Pipeline {
public:
    explicit BoundedString(std::size_t limit) : Pipeline("bounded", nullptr), m_limit(limit) {}

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
                                       bool pageContents) {
    try {
        BoundedString text(limit);
        if (pageContents) {
            object.pipePageContents(&text);
        } else if (!object.isStream() ||
                   !object.pipeStreamData(&text, 0, qpdf_dl_generalized, true)) {
            return std::nullopt;
        }
        return text.take();
    } catch (const std::exception&) {
        return std::nullopt; // the caller goes on without the data, as documented
    }
}

} // namespace quillorn
