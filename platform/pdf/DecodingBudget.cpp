#include "platform/pdf/DecodingBudget.h"

#include <limits>
#include <stdexcept>
#include <utility>

namespace quillorn {

namespace {

constexpr std::uint64_t smallestBudget = 4U << 20U;
constexpr std::uint64_t mostExpansion = 64; // of the whole file

thread_local DecodingBudget* currentBudget = nullptr;

} // namespace

DecodingBudget DecodingBudget::forFilesOf(std::uint64_t bytes) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const bool huge = bytes > (most - smallestBudget) / mostExpansion;
    return DecodingBudget(huge ? most : smallestBudget + mostExpansion * bytes);
}

void DecodingBudget::spend(std::uint64_t bytes) {
    if (m_exceeded || bytes > m_left) {
        m_exceeded = true;
        m_left = 0;
        throw std::runtime_error("the stream decodes to too many bytes");
    }
    m_left -= bytes;
}

DecodingScope::DecodingScope(DecodingBudget& budget)
    : m_before(std::exchange(currentBudget, &budget)) {}

DecodingScope::~DecodingScope() {
    currentBudget = m_before;
}

DecodingBudget* DecodingScope::current() {
    return currentBudget;
}

} // namespace quillorn
