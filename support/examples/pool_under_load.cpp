// Several threads take blocks of one size from one pool and give them back in order.

#include "support/CASMemoryPool.h"
#include "support/CASThread.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <deque>

namespace {

constexpr uint32_t blockSize = 64;

// Holds 100 blocks at any time, each marked with its owner's number.
class Load : public CASThread {
public:
    using CASThread::operator=;
    explicit Load(CASMemoryPool& pool) : m_pool(pool) {}

    int failures() const { return m_failures; }

private:
    int32_t Execute(void* param) override {
        const auto mark = *static_cast<uint32_t*>(param);
        std::deque<uint32_t*> blocks;
        for (int i = 0; i < 10'000; ++i) {
            auto* block = static_cast<uint32_t*>(m_pool.GetMemory(blockSize));
            if (block == nullptr || *block != 0) {
                ++m_failures; // memory comes zeroed
                continue;
            }
            *block = mark;
            blocks.push_back(block);
            if (blocks.size() > 100)
                GiveBack(blocks, mark);
        }
        while (!blocks.empty())
            GiveBack(blocks, mark);
        return 0;
    }
    void GiveBack(std::deque<uint32_t*>& blocks, uint32_t mark) {
        m_failures += *blocks.front() == mark ? 0 : 1;
        m_pool.FreeMemory(blocks.front());
        blocks.pop_front();
    }

    CASMemoryPool& m_pool;
    int m_failures = 0;
};

} // namespace

int main() {
    CASMemoryPool pool(blockSize, 64 * 1024, 16);
    std::array<uint32_t, 3> marks = {1, 2, 3};
    std::array<Load, 3> loads = {Load(pool), Load(pool), Load(pool)};
    for (size_t i = 0; i < loads.size(); ++i)
        loads[i].startThread(&marks[i], ASThreadPriorityNormal, 0);
    int failures = 0;
    for (Load& load : loads) {
        load.WaitForThreadExit();
        failures += load.failures();
    }
    std::printf("%d blocks were not as expected\n", failures);
    return failures == 0 ? 0 : 1;
}
