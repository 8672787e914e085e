#pragma once

#include "support/CASObject.h"

#include <pthread.h>

#include <cstdint>

/// Descriptor of one chunk.
struct CASMemoryChunk {
    unsigned char* data;    // start of this chunk's memory inside its block
    uint32_t dataSize;      // bytes from here to the end of the block
    uint32_t usedSize;      // first chunk of an allocation: bytes handed out; otherwise 0
    bool isAllocationChunk; // first chunk of a block: data is the block's address, this
                            // descriptor is the start of the block's descriptor array
    CASMemoryChunk* next;   // across block boundaries; null at the end
};

/// `size` rounded up to a multiple of `alignment`, a power of two.
uint32_t Alignmentsize(uint32_t size, uint32_t alignment);

// Hands out memory from large blocks in units of a fixed chunk size, so that many small requests
// of one size cost no system allocation each.
//
//     CASMemoryPool pool(24, 64 * 1024, 8);
//     void* record = pool.GetMemory(24);
//     pool.FreeMemory(record);
//
// Made for requests of one size. The search deliberately looks at the first chunk of a free run
// only: after a small block in front of a used one was freed, a larger request may be given memory
// that overlaps the used one. Give each size a pool of its own. It also never looks at the last
// chunk of all, and a search that runs off the end with a request of several chunks adds a block
// instead of starting over: a chunk size of the request's size avoids that.
//
// Ownership: blocks are returned to the system by the destructor only; memory handed out dies with
// the pool. Threads: any; one recursive mutex is held for the whole of every call. Errors: null
// and a log line. Memory is zero when a block is new and after FreeMemory.
class CASMemoryPool : public CASObject {
public:
    /// Sizes in bytes. alignment is 4, 8 or 16; another value logs a warning and means 16. The
    /// chunk size is rounded up to the alignment (0 gives one alignment), the initial size to
    /// chunks; it is also the least size of blocks added later.
    CASMemoryPool(uint32_t chunkSize, uint32_t initialSize, uint32_t alignment);
    ~CASMemoryPool() override;
    CASMemoryPool(const CASMemoryPool&) = delete;
    CASMemoryPool& operator=(const CASMemoryPool&) = delete;
    using CASObject::operator=;

    /// Memory for `size` bytes, or null when there is none. A request of 0 bytes gets the address
    /// of a free chunk without taking it.
    void* GetMemory(uint32_t size);
    /// Zeroes and takes back an allocation; `pointer` is its exact start. Anything else logs two
    /// messages and changes nothing but the count of objects, which falls all the same.
    void FreeMemory(void* pointer);

private:
    friend struct SupportLayoutProbe;

    bool AllocateMemory(uint32_t size);
    uint32_t CalcNeedChunks(uint32_t size) const;
    uint32_t CalcNeedBlockSize(uint32_t size) const;
    bool LinkChunkToData(unsigned char* data, CASMemoryChunk* chunks, uint32_t count);
    bool RecalcChunkDataSize(CASMemoryChunk* chunks, uint32_t count) const;
    CASMemoryChunk* SkipChunks(CASMemoryChunk* chunk, uint32_t count) const;
    CASMemoryChunk* FindChunkSuitableToHoldMemory(uint32_t size);
    CASMemoryChunk* FindChunkHoldingPointerTo(const void* pointer) const;
    void FreeChunks(CASMemoryChunk* chunk);
    void FreeallocateMemory();
    void DeallocateAllChunks();

    pthread_mutex_t mutex;
    CASMemoryChunk* firstChunk = nullptr;
    CASMemoryChunk* lastChunk = nullptr;
    CASMemoryChunk* cursorChunk = nullptr; // where the last search succeeded
    uint32_t totalSize = 0;
    uint32_t usedSize = 0;
    uint32_t freeSize = 0; // deliberately one-sided: freeing does not raise it
    uint32_t chunkSize = 0;
    uint32_t chunkCount = 0;
    uint32_t objectCount = 0;
    uint32_t minimalBlockSize = 0;
    uint32_t alignment = 0;
};
