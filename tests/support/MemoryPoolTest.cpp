#include "support/CASMemoryPool.h"

#include "LayoutProbe.h"
#include "LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using Probe = SupportLayoutProbe;

// Which of the coming allocations of the C heap fail (1 is the next), and what was freed.
int g_failAllocation = 0;
bool g_recordFrees = false;
std::vector<void*>& FreedMemory() {
    static std::vector<void*> freed;
    return freed;
}

bool IsZero(const void* memory, size_t size) {
    const auto* bytes = static_cast<const unsigned char*>(memory);
    return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

} // namespace

// The linker sends the library's calloc and free here.
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size);
extern "C" void __real_free(void* memory);
extern "C" void __wrap_free(void* memory);

extern "C" void* __wrap_calloc(size_t count, size_t size) {
    if (g_failAllocation > 0 && --g_failAllocation == 0)
        return nullptr;
    return __real_calloc(count, size);
}

extern "C" void __wrap_free(void* memory) {
    if (g_recordFrees)
        FreedMemory().push_back(memory);
    __real_free(memory);
}

TEST(MemoryPool, ChunkSizeIsRoundedUpToTheAlignment) {
    const CASMemoryPool pool(10, 100, 8);
    EXPECT_EQ(Probe::chunkSize(pool), 16U);
    EXPECT_EQ(Probe::totalSize(pool), 112U);
    EXPECT_EQ(Probe::freeSize(pool), 112U);
    EXPECT_EQ(Probe::chunkCount(pool), 7U);
    EXPECT_EQ(Probe::minimalBlockSize(pool), 112U);
    EXPECT_EQ(Probe::alignment(pool), 8U);
    EXPECT_EQ(Alignmentsize(10, 8), 16U);
    EXPECT_EQ(Alignmentsize(16, 8), 16U);
    EXPECT_EQ(Alignmentsize(0, 4), 0U);
}

TEST(MemoryPool, ChunksOfABlockKnowTheBytesUpToItsEnd) {
    const CASMemoryPool pool(10, 100, 8);
    const CASMemoryChunk* chunk = Probe::firstChunk(pool);
    const unsigned char* block = chunk->data;
    for (uint32_t i = 0; i < 7; ++i, chunk = chunk->next) {
        ASSERT_NE(chunk, nullptr);
        EXPECT_EQ(chunk->data, block + i * 16);
        EXPECT_EQ(chunk->dataSize, 112 - i * 16);
        EXPECT_EQ(chunk->usedSize, 0U);
        EXPECT_EQ(chunk->isAllocationChunk, i == 0);
        EXPECT_EQ(chunk == Probe::lastChunk(pool), i == 6);
    }
    EXPECT_EQ(chunk, nullptr);
    EXPECT_EQ(Probe::cursorChunk(pool), Probe::firstChunk(pool));
}

TEST(MemoryPool, UnsupportedAlignmentWarnsAndMeansSixteen) {
    const LogCapture log;
    const CASMemoryPool pool(10, 100, 32);
    EXPECT_EQ(log.lines(),
              LogLines{"WAR:Can't support such alignment: 32, used default alignment"});
    EXPECT_EQ(Probe::chunkSize(pool), 16U);
    EXPECT_EQ(Probe::alignment(pool), 16U);
}

TEST(MemoryPool, MemoryIsAlignedZeroAndDistinct) {
    CASMemoryPool pool(20, 4096, 16);
    std::vector<unsigned char*> blocks;
    for (int i = 0; i < 300; ++i) {
        auto* memory = static_cast<unsigned char*>(pool.GetMemory(20));
        ASSERT_NE(memory, nullptr);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % 16, 0U);
        EXPECT_TRUE(IsZero(memory, 20));
        std::memset(memory, i & 0xFF, 20);
        blocks.push_back(memory);
    }
    for (size_t i = 0; i < blocks.size(); ++i)
        EXPECT_EQ(std::count(blocks[i], blocks[i] + 20, static_cast<unsigned char>(i & 0xFF)), 20);
}

TEST(MemoryPool, RequestLargerThanTheFreeRunsAddsABlockOfThatSize) {
    CASMemoryPool pool(16, 112, 16);
    void* memory = pool.GetMemory(1000);
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(Probe::totalSize(pool), 112U + 1008U);
    EXPECT_EQ(Probe::chunkCount(pool), 7U + 63U);
    EXPECT_EQ(Probe::usedSize(pool), 1008U);
    EXPECT_EQ(Probe::freeSize(pool), 112U);
    std::memset(memory, 0xFF, 1000);
    EXPECT_NE(pool.GetMemory(1), nullptr);
}

TEST(MemoryPool, AddedBlockHasAtLeastTheMinimalSize) {
    CASMemoryPool pool(16, 64, 16);
    for (int i = 0; i < 3; ++i)
        EXPECT_NE(pool.GetMemory(16), nullptr);
    EXPECT_EQ(Probe::totalSize(pool), 64U);
    EXPECT_NE(pool.GetMemory(16), nullptr);
    EXPECT_EQ(Probe::totalSize(pool), 128U);
}

TEST(MemoryPool, LastChunkIsNeverHandedOut) {
    CASMemoryPool pool(16, 64, 16);
    std::vector<void*> handedOut;
    const void* last = Probe::lastChunk(pool)->data;
    for (int i = 0; i < 3; ++i)
        handedOut.push_back(pool.GetMemory(16));
    EXPECT_EQ(std::count(handedOut.begin(), handedOut.end(), last), 0);
    EXPECT_EQ(pool.GetMemory(16), last); // no longer the last: a block was added behind it
    EXPECT_EQ(Probe::chunkCount(pool), 8U);
}

TEST(MemoryPool, PoolOfOneChunkGrowsBeforeItServes) {
    CASMemoryPool pool(16, 16, 16);
    EXPECT_EQ(Probe::chunkCount(pool), 1U);
    EXPECT_NE(pool.GetMemory(16), nullptr);
    EXPECT_EQ(Probe::chunkCount(pool), 2U);
}

TEST(MemoryPool, PoolWithoutInitialBlockGrowsOnDemand) {
    CASMemoryPool pool(16, 0, 16);
    EXPECT_EQ(Probe::chunkCount(pool), 0U);
    EXPECT_NE(pool.GetMemory(0), nullptr);
    EXPECT_NE(pool.GetMemory(100), nullptr);
}

TEST(MemoryPool, SearchResumesAtTheLastHitAndWrapsAround) {
    CASMemoryPool pool(16, 80, 16);
    void* first = pool.GetMemory(16);
    void* second = pool.GetMemory(16);
    pool.FreeMemory(first);
    EXPECT_EQ(Probe::cursorChunk(pool)->data, second);
    void* third = pool.GetMemory(16);
    EXPECT_NE(third, first);
    EXPECT_NE(pool.GetMemory(16), first); // the fourth of five chunks; the fifth is never looked at
    EXPECT_EQ(pool.GetMemory(16), first);
    EXPECT_EQ(Probe::totalSize(pool), 80U);
}

TEST(MemoryPool, ChunksBehindAFreeOneAreNotLookedAt) {
    CASMemoryPool pool(16, 64, 16);
    void* small = pool.GetMemory(16);
    void* neighbour = pool.GetMemory(16);
    pool.FreeMemory(small);
    pool.FreeMemory(pool.GetMemory(16));
    void* third = pool.GetMemory(16);
    ASSERT_NE(third, nullptr);
    void* large = nullptr;
    do {
        large = pool.GetMemory(32);
    } while (large != small && Probe::totalSize(pool) == 64);
    EXPECT_EQ(large, small);
    EXPECT_EQ(static_cast<unsigned char*>(neighbour) - static_cast<unsigned char*>(large), 16);
}

TEST(MemoryPool, FreedMemoryIsZeroedAndUsedAgain) {
    CASMemoryPool pool(32, 1024, 8);
    void* memory = pool.GetMemory(100);
    std::memset(memory, 0xAB, 100);
    EXPECT_EQ(Probe::usedSize(pool), 128U);
    pool.FreeMemory(memory);
    EXPECT_TRUE(IsZero(memory, 128));
    EXPECT_EQ(Probe::usedSize(pool), 0U);
    EXPECT_EQ(Probe::objectCount(pool), 0U);
    EXPECT_EQ(pool.GetMemory(100), memory);
}

TEST(MemoryPool, FreeingDoesNotRaiseTheFreeSize) {
    CASMemoryPool pool(16, 160, 16);
    pool.FreeMemory(pool.GetMemory(16));
    EXPECT_EQ(Probe::freeSize(pool), 144U);
    pool.FreeMemory(pool.GetMemory(16));
    EXPECT_EQ(Probe::freeSize(pool), 128U);
}

TEST(MemoryPool, PointerIntoAnAllocationIsNotFreed) {
    const LogCapture log;
    CASMemoryPool pool(16, 1024, 16);
    auto* memory = static_cast<unsigned char*>(pool.GetMemory(64));
    std::memset(memory, 0xCD, 64);
    pool.FreeMemory(memory + 1);
    EXPECT_EQ(log.lines(), (LogLines{"ERR:Can't find chunks.",
                                     "WAR:Warnig: Requested Pointer not in Memory Pool"}));
    EXPECT_EQ(Probe::usedSize(pool), 64U);
    EXPECT_EQ(Probe::objectCount(pool), 0U);
    EXPECT_EQ(memory[63], 0xCD);
}

TEST(MemoryPool, ForeignAndNullPointersAreReported) {
    const LogCapture log;
    CASMemoryPool pool(16, 1024, 16);
    int foreign = 0;
    pool.FreeMemory(&foreign);
    pool.FreeMemory(nullptr);
    EXPECT_EQ(log.lines().size(), 4U);
    EXPECT_EQ(Probe::objectCount(pool), 0xFFFFFFFEU);
}

TEST(MemoryPool, FreeingTwiceCountsTwiceAndChangesNothingElse) {
    const LogCapture log;
    CASMemoryPool pool(16, 1024, 16);
    void* memory = pool.GetMemory(16);
    pool.FreeMemory(memory);
    pool.FreeMemory(memory);
    EXPECT_EQ(log.lines(), LogLines{});
    EXPECT_EQ(Probe::usedSize(pool), 0U);
    EXPECT_EQ(Probe::objectCount(pool), 0xFFFFFFFFU);
}

TEST(MemoryPool, RequestOfNothingGetsAFreeChunkWithoutTakingIt) {
    CASMemoryPool pool(16, 1024, 16);
    void* memory = pool.GetMemory(0);
    EXPECT_NE(memory, nullptr);
    EXPECT_EQ(pool.GetMemory(0), memory);
    EXPECT_EQ(pool.GetMemory(16), memory);
    EXPECT_EQ(Probe::objectCount(pool), 3U);
    EXPECT_EQ(Probe::usedSize(pool), 16U);
}

TEST(MemoryPool, RequestBeyondThirtyTwoBitsIsOutOfMemory) {
    const LogCapture log;
    CASMemoryPool pool(16, 64, 16);
    EXPECT_EQ(pool.GetMemory(0xFFFFFFFFU), nullptr);
    EXPECT_EQ(log.lines(),
              (LogLines{"ERR:Memorypool: Out of memory.", "ERR:Memory Pool: Out of memory."}));
    EXPECT_NE(pool.GetMemory(16), nullptr);
}

TEST(MemoryPool, FailedAllocationIsReportedAndThePoolStaysUsable) {
    for (const int failing : {1, 2}) { // the block, the descriptors
        const LogCapture log;
        CASMemoryPool pool(16, 64, 16);
        g_failAllocation = failing;
        EXPECT_EQ(pool.GetMemory(1000), nullptr);
        g_failAllocation = 0;
        EXPECT_EQ(log.lines(),
                  (LogLines{"ERR:Memorypool: Out of memory.", "ERR:Memory Pool: Out of memory."}));
        EXPECT_EQ(Probe::totalSize(pool), 64U);
        EXPECT_NE(pool.GetMemory(1000), nullptr);
    }
}

TEST(MemoryPool, FailedInitialBlockIsMadeUpForLater) {
    const LogCapture log;
    g_failAllocation = 1;
    CASMemoryPool pool(16, 64, 16);
    g_failAllocation = 0;
    EXPECT_EQ(log.lines(), LogLines{"ERR:Memorypool: Out of memory."});
    EXPECT_NE(pool.GetMemory(16), nullptr);
}

TEST(MemoryPool, DestructionGivesBackAllButTheLastDescriptors) {
    std::vector<const void*> blocks;
    std::vector<const void*> descriptors;
    {
        CASMemoryPool pool(16, 64, 16);
        while (Probe::chunkCount(pool) < 12)
            EXPECT_NE(pool.GetMemory(16), nullptr);
        for (const auto* chunk = Probe::firstChunk(pool); chunk != nullptr; chunk = chunk->next) {
            if (chunk->isAllocationChunk) {
                blocks.push_back(chunk->data);
                descriptors.push_back(chunk);
            }
        }
        FreedMemory().clear();
        g_recordFrees = true;
    }
    g_recordFrees = false;
    const std::vector<void*> freed = FreedMemory();
    const auto isFreed = [&](const void* memory) {
        return std::find(freed.begin(), freed.end(), memory) != freed.end();
    };
    ASSERT_EQ(blocks.size(), 3U);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_TRUE(isFreed(blocks[i])) << i;
        EXPECT_EQ(isFreed(descriptors[i]), i < 2) << i;
    }
}

TEST(MemoryPool, ExtremeSizesAreServedOrRefused) {
    const LogCapture log;
    CASMemoryPool none(0, 0, 4);
    EXPECT_EQ(Probe::chunkSize(none), 4U);
    EXPECT_NE(none.GetMemory(1), nullptr);
    CASMemoryPool huge(0xFFFFFFFFU, 0, 16);
    EXPECT_EQ(Probe::chunkSize(huge), 0xFFFFFFF0U);
    EXPECT_EQ(huge.GetMemory(0xFFFFFFFFU), nullptr);
    CASMemoryPool tooMuch(16, 0xFFFFFFFFU, 16);
    EXPECT_EQ(tooMuch.GetMemory(1), nullptr);
}

TEST(MemoryPool, ThreadsShareOnePool) {
    CASMemoryPool pool(24, 1024, 8);
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&pool, t] {
            std::vector<unsigned char*> mine;
            for (int i = 0; i < 500; ++i) {
                auto* memory = static_cast<unsigned char*>(pool.GetMemory(24));
                ASSERT_TRUE(IsZero(memory, 24));
                std::memset(memory, t + 1, 24);
                mine.push_back(memory);
                if (i % 3 == 2) {
                    EXPECT_EQ(mine.front()[23], t + 1);
                    pool.FreeMemory(mine.front());
                    mine.erase(mine.begin());
                }
            }
            for (auto* memory : mine) {
                EXPECT_EQ(memory[0], t + 1);
                pool.FreeMemory(memory);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(Probe::objectCount(pool), 0U);
    EXPECT_EQ(Probe::usedSize(pool), 0U);
}
