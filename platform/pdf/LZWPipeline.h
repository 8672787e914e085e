#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <qpdf/Pipeline.hh>
#include <vector>

namespace quillorn {

/// Decodes LZW data (ISO 32000-1, 7.4.4). Throws std::runtime_error on data that is none.
class LZWPipeline : public Pipeline {
public:
    /// `earlyChange`: codes grow one code earlier than they must, as is usual.
    LZWPipeline(bool earlyChange, Pipeline* target);

    void write(unsigned char const* data, size_t length) override;
    void finish() override;

private:
    static constexpr std::size_t mostCodes = 4096;

    void take(unsigned code);
    void clear();
    /// The bytes that a code stands for.
    void expand(unsigned code);

    bool m_earlyChange;
    bool m_ended = false;
    std::uint32_t m_bits = 0;
    unsigned m_bitCount = 0;
    unsigned m_width = 0;
    unsigned m_next = 0;     ///< the code to be defined next
    unsigned m_previous = 0; ///< the last code taken, or none
    std::array<std::uint16_t, mostCodes> m_prefix{};
    std::array<unsigned char, mostCodes> m_last{};
    std::vector<unsigned char> m_text; ///< of the last code expanded
};

} // namespace quillorn
