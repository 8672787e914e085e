#include "support/CASQueue.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <deque>
#include <mutex>

// Each thread puts ten pointers and takes ten, on one queue.

namespace {

constexpr int burst = 10;

// What the queue is compared with.
class LockedDeque {
public:
    void Put(void* data) {
        const std::lock_guard lock(m_mutex);
        m_data.push_back(data);
    }
    void* Get() {
        const std::lock_guard lock(m_mutex);
        if (m_data.empty())
            return nullptr;
        void* data = m_data.front();
        m_data.pop_front();
        return data;
    }

private:
    std::mutex m_mutex;
    std::deque<void*> m_data;
};

template <typename Queue>
void PutAndGet(benchmark::State& state) {
    static Queue queue;
    int value = 0;
    for (auto _ : state) {
        for (int i = 0; i < burst; ++i)
            queue.Put(&value);
        for (int i = 0; i < burst; ++i)
            benchmark::DoNotOptimize(queue.Get());
    }
    state.SetItemsProcessed(state.iterations() * burst);
}

BENCHMARK(PutAndGet<CASQueue>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(PutAndGet<LockedDeque>)->Threads(1)->Threads(2)->UseRealTime();

} // namespace
