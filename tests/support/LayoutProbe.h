#pragma once

#include "support/support.h"

#include <cstddef>
#include <vector>

// Looks into the library's classes: values that their interface does not show, and the order in
// which their fields lie.
struct SupportLayoutProbe {
    using Offsets = std::vector<ptrdiff_t>;

    template <typename Object, typename... Field>
    static Offsets offsets(const Object& object, const Field&... fields) {
        const auto* start = reinterpret_cast<const char*>(&object);
        return {(reinterpret_cast<const char*>(&fields) - start)...};
    }

    static Offsets of(const CMacEvent& o) {
        return offsets(o, o.mutex, o.condition, o.signaled, o.initialState, o.manualReset);
    }
    static Offsets of(const CASMacSemaphore& o) {
        return offsets(o, o.mutex, o.semaphore, o.count);
    }
    static Offsets of(const CASQueue& o) {
        return offsets(o, o.length, o.mutex, o.head, o.tail, o.nodePool);
    }
    static Offsets of(const CASMessageQueue& o) {
        return offsets(o, o.nodePool, o.messageEvent, o.messagePool);
    }
    static Offsets of(const CASMemoryPool& o) {
        return offsets(o, o.mutex, o.firstChunk, o.lastChunk, o.cursorChunk, o.totalSize,
                       o.usedSize, o.freeSize, o.chunkSize, o.chunkCount, o.objectCount,
                       o.minimalBlockSize, o.alignment);
    }
    static Offsets of(const CASFile& o) {
        return offsets(o, o.m_hFile, o.m_operation, o.m_path, o.m_mutex);
    }
    static Offsets of(const CASResourceData& o) {
        return offsets(o, o.data, o.size, o.resourceID, o.type);
    }
    static Offsets of(const CASFontCollection& o) { return offsets(o, o.collection, o.fontName); }
    static Offsets of(const CASFont& o) { return offsets(o, o.name, o.size, o.color, o.style); }
    static Offsets of(const CASSize& o) { return offsets(o, o.width, o.height); }
    static Offsets of(const CASRect& o) { return offsets(o, o.x, o.y, o.width, o.height); }

    static uint32_t waiters(CMacEvent& event) {
        pthread_mutex_lock(&event.mutex);
        const uint32_t count = event.waiters;
        pthread_mutex_unlock(&event.mutex);
        return count;
    }
    static MPSemaphoreID semaphore(const CASMacSemaphore& o) { return o.semaphore; }
    static const CASMemoryPool& messagePool(const CASMessageQueue& o) { return o.messagePool; }
    static const CASMemoryPool& nodePool(const CASQueue& o) { return o.nodePool; }
    static void* messageEvent(const CASMessageQueue& o) { return o.messageEvent; }
    static void* threadProc(void* record) { return CASThread::threadProc(record); }

    static const CASMemoryChunk* firstChunk(const CASMemoryPool& o) { return o.firstChunk; }
    static const CASMemoryChunk* lastChunk(const CASMemoryPool& o) { return o.lastChunk; }
    static const CASMemoryChunk* cursorChunk(const CASMemoryPool& o) { return o.cursorChunk; }
    static uint32_t totalSize(const CASMemoryPool& o) { return o.totalSize; }
    static uint32_t usedSize(const CASMemoryPool& o) { return o.usedSize; }
    static uint32_t freeSize(const CASMemoryPool& o) { return o.freeSize; }
    static uint32_t chunkSize(const CASMemoryPool& o) { return o.chunkSize; }
    static uint32_t chunkCount(const CASMemoryPool& o) { return o.chunkCount; }
    static uint32_t objectCount(const CASMemoryPool& o) { return o.objectCount; }
    static uint32_t minimalBlockSize(const CASMemoryPool& o) { return o.minimalBlockSize; }
    static uint32_t alignment(const CASMemoryPool& o) { return o.alignment; }
};
