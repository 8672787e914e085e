#include "support/CASMemoryPool.h"

#include "support/detail/KeptMemory.h"
#include "support/detail/MutexLock.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

// The pool is a memory manager: raw memory of the C heap is its subject.
// NOLINTBEGIN(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory,
// clang-analyzer-unix.Malloc)

namespace {

constexpr uint32_t defaultAlignment = 16;
// Block size of a request that 32 bits cannot hold. No multiple of a chunk size is odd, so no
// block ever has this size.
constexpr uint32_t unrepresentableSize = std::numeric_limits<uint32_t>::max();

} // namespace

uint32_t Alignmentsize(uint32_t size, uint32_t alignment) {
    return (size + alignment - 1) & ~(alignment - 1);
}

CASMemoryPool::CASMemoryPool(uint32_t chunkBytes, uint32_t initialSize, uint32_t alignmentBytes) {
    ASCreateRecursiveMutex(mutex);
    if (alignmentBytes != 4 && alignmentBytes != 8 && alignmentBytes != 16) {
        LogMessage(ASLogTypeWarning, "Can't support such alignment: %d, used default alignment",
                   static_cast<int>(alignmentBytes));
        alignmentBytes = defaultAlignment;
    }
    alignment = alignmentBytes;
    // A chunk has at least one alignment unit, and rounding up never wraps around.
    const uint32_t largestChunk = ~(alignment - 1);
    chunkSize = Alignmentsize(std::clamp(chunkBytes, alignment, largestChunk), alignment);
    minimalBlockSize = CalcNeedBlockSize(initialSize);
    AllocateMemory(minimalBlockSize);
}

CASMemoryPool::~CASMemoryPool() {
    const ASMutexLock lock(mutex);
    FreeallocateMemory();
    DeallocateAllChunks();
    // The mutex is deliberately left as it is, not destroyed.
}

uint32_t CASMemoryPool::CalcNeedChunks(uint32_t size) const {
    if (size == chunkSize)
        return 1; // the common request, without a division
    return static_cast<uint32_t>((uint64_t{chunkSize} + size - 1) / chunkSize);
}

uint32_t CASMemoryPool::CalcNeedBlockSize(uint32_t size) const {
    if (size <= chunkSize)
        return size == 0 ? 0 : chunkSize;
    const uint64_t bytes = uint64_t{CalcNeedChunks(size)} * chunkSize;
    return bytes < unrepresentableSize ? static_cast<uint32_t>(bytes) : unrepresentableSize;
}

bool CASMemoryPool::AllocateMemory(uint32_t size) {
    const uint32_t bytes = CalcNeedBlockSize(size);
    if (bytes == 0)
        return true;
    const uint32_t count = CalcNeedChunks(bytes);
    unsigned char* block = nullptr;
    CASMemoryChunk* chunks = nullptr;
    if (bytes != unrepresentableSize) {
        // Zeroed by the allocator, which knows that fresh pages are zero already.
        block = static_cast<unsigned char*>(std::calloc(bytes, 1));
        chunks = static_cast<CASMemoryChunk*>(std::calloc(count, sizeof(CASMemoryChunk)));
    }
    if (block == nullptr || chunks == nullptr) {
        LogMessage(ASLogTypeError, "Memorypool: Out of memory.");
        // Deliberate: when only one of the two was granted it is not given back.
        ASKeepForever(block);
        ASKeepForever(chunks);
        return false;
    }
    totalSize += bytes;
    freeSize += bytes;
    chunkCount += count;
    return LinkChunkToData(block, chunks, count);
}

bool CASMemoryPool::LinkChunkToData(unsigned char* data, CASMemoryChunk* chunks, uint32_t count) {
    if (data == nullptr || chunks == nullptr)
        return false;
    for (uint32_t i = 0; i < count; ++i) {
        CASMemoryChunk* chunk = chunks + i;
        if (firstChunk == nullptr) {
            firstChunk = chunk;
            cursorChunk = chunk;
        } else {
            lastChunk->next = chunk;
        }
        lastChunk = chunk;
        chunk->data = data + size_t{i} * chunkSize;
    }
    chunks->isAllocationChunk = true;
    return RecalcChunkDataSize(chunks, count);
}

bool CASMemoryPool::RecalcChunkDataSize(CASMemoryChunk* chunks, uint32_t count) const {
    if (chunks == nullptr)
        return false;
    for (uint32_t i = 0; i < count; ++i)
        chunks[i].dataSize = chunkSize * count - chunkSize * i;
    return true;
}

// Follows `next` that many times. The descriptors of a block are one array, so the steps inside a
// block are one addition.
CASMemoryChunk* CASMemoryPool::SkipChunks(CASMemoryChunk* chunk, uint32_t count) const {
    if (count == 1)
        return chunk->next;
    while (chunk != nullptr && count > 0) {
        const uint32_t leftInBlock = chunk->dataSize / chunkSize;
        if (count < leftInBlock)
            return chunk + count;
        chunk = chunk[leftInBlock - 1].next;
        count -= leftInBlock;
    }
    return chunk;
}

CASMemoryChunk* CASMemoryPool::FindChunkSuitableToHoldMemory(uint32_t size) {
    CASMemoryChunk* chunk = cursorChunk;
    for (uint32_t step = 0; step < chunkCount && chunk != nullptr; ++step) {
        // Deliberate: the last chunk of all is never examined.
        if (chunk == lastChunk) {
            chunk = firstChunk;
            if (chunk == lastChunk)
                return nullptr;
        }
        // Deliberate: the chunks that follow inside dataSize are not looked at.
        if (chunk->dataSize >= size && chunk->usedSize == 0) {
            cursorChunk = chunk;
            return chunk;
        }
        chunk = SkipChunks(chunk, std::max<uint32_t>(1, CalcNeedChunks(chunk->usedSize)));
    }
    return nullptr;
}

// The chunk whose data is exactly the pointer. Same answer as a walk over all chunks: blocks that
// do not hold the pointer are passed over whole.
CASMemoryChunk* CASMemoryPool::FindChunkHoldingPointerTo(const void* pointer) const {
    const auto address = reinterpret_cast<uintptr_t>(pointer);
    CASMemoryChunk* block = firstChunk;
    while (block != nullptr) {
        const uintptr_t offset = address - reinterpret_cast<uintptr_t>(block->data);
        if (offset < block->dataSize) {
            const auto bytes = static_cast<uint32_t>(offset);
            if (bytes % chunkSize == 0)
                return block + bytes / chunkSize;
            break;
        }
        block = block[block->dataSize / chunkSize - 1].next;
    }
    LogMessage(ASLogTypeError, "Can't find chunks.");
    return nullptr;
}

void CASMemoryPool::FreeChunks(CASMemoryChunk* chunk) {
    const uint32_t count = CalcNeedChunks(chunk->usedSize);
    std::memset(chunk->data, 0, size_t{count} * chunkSize);
    for (uint32_t i = 0; i < count; ++i) {
        chunk[i].usedSize = 0;
        usedSize -= chunkSize;
    }
}

void* CASMemoryPool::GetMemory(uint32_t size) {
    const uint32_t need = CalcNeedBlockSize(size);
    const ASMutexLock lock(mutex);
    CASMemoryChunk* chunk = FindChunkSuitableToHoldMemory(need);
    while (chunk == nullptr) {
        // A pool without an initial block grows by at least one chunk, or a request of 0 bytes
        // would search for ever.
        if (!AllocateMemory(std::max({minimalBlockSize, need, chunkSize}))) {
            LogMessage(ASLogTypeError, "Memory Pool: Out of memory.");
            return nullptr;
        }
        chunk = FindChunkSuitableToHoldMemory(need);
    }
    usedSize += need;
    freeSize -= need;
    ++objectCount;
    chunk->usedSize = need;
    return chunk->data;
}

void CASMemoryPool::FreeMemory(void* pointer) {
    const ASMutexLock lock(mutex);
    CASMemoryChunk* chunk = FindChunkHoldingPointerTo(pointer);
    if (chunk != nullptr)
        FreeChunks(chunk);
    else
        LogMessage(ASLogTypeWarning, "Warnig: Requested Pointer not in Memory Pool");
    // Deliberate: the count falls for a pointer that is not the pool's, too.
    --objectCount;
}

void CASMemoryPool::FreeallocateMemory() {
    for (CASMemoryChunk* chunk = firstChunk; chunk != nullptr; chunk = chunk->next) {
        if (chunk->isAllocationChunk)
            std::free(chunk->data);
    }
}

// Frees each descriptor array once the walk has reached the next one. Deliberate: the array
// remembered last is not freed.
void CASMemoryPool::DeallocateAllChunks() {
    CASMemoryChunk* remembered = nullptr;
    for (CASMemoryChunk* chunk = firstChunk; chunk != nullptr; chunk = chunk->next) {
        if (chunk->isAllocationChunk) {
            std::free(remembered);
            remembered = chunk;
        }
    }
    ASKeepForever(remembered);
}

// NOLINTEND(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory,
// clang-analyzer-unix.Malloc)
