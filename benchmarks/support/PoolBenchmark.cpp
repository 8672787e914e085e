#include "support/CASMemoryPool.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

// The pool's own pattern: many blocks of one size are taken, then given back in the same order.
// Threads share one pool, as they share one heap.

namespace {

constexpr size_t blockCount = 1000;
constexpr uint32_t largestThreadCount = 2;

template <typename Take, typename GiveBack>
void TakeAndGiveBack(benchmark::State& state, Take take, GiveBack giveBack) {
    std::vector<void*> blocks(blockCount);
    for (auto _ : state) {
        for (void*& block : blocks) {
            block = take();
            *static_cast<volatile char*>(block) = 1;
        }
        for (void* block : blocks)
            giveBack(block);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(blockCount));
}

template <uint32_t Size>
void BlocksFromPool(benchmark::State& state) {
    // Room for all blocks of all threads and the last chunk, which is never handed out.
    static CASMemoryPool pool(Size, Size * (blockCount * largestThreadCount + 2), 8);
    TakeAndGiveBack(
        state, [] { return pool.GetMemory(Size); }, [](void* block) { pool.FreeMemory(block); });
}

// NOLINTBEGIN(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory): what the pool is
// compared with
template <uint32_t Size>
void BlocksFromMalloc(benchmark::State& state) {
    TakeAndGiveBack(
        state, [] { return std::malloc(Size); }, [](void* block) { std::free(block); });
}

template <uint32_t Size>
void BlocksFromCalloc(benchmark::State& state) {
    TakeAndGiveBack(
        state, [] { return std::calloc(Size, 1); }, [](void* block) { std::free(block); });
}
// NOLINTEND(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory)

BENCHMARK(BlocksFromPool<24>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BlocksFromMalloc<24>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BlocksFromCalloc<24>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BlocksFromPool<1024>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BlocksFromMalloc<1024>)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BlocksFromCalloc<1024>)->Threads(1)->Threads(2)->UseRealTime();

} // namespace
