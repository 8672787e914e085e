#include "support/detail/KeptMemory.h"

#include <atomic>
#include <memory>
#include <new>

namespace {

struct KeptMemory {
    const void* memory;
    KeptMemory* next;
};

std::atomic<KeptMemory*> g_kept{nullptr};

} // namespace

void ASKeepForever(const void* memory) {
    if (memory == nullptr)
        return;
    std::unique_ptr<KeptMemory> entry(new (std::nothrow) KeptMemory{memory, nullptr});
    if (entry == nullptr)
        return;
    entry->next = g_kept.load(std::memory_order_relaxed);
    while (!g_kept.compare_exchange_weak(entry->next, entry.get(), std::memory_order_release,
                                         std::memory_order_relaxed)) {
    }
    (void)entry.release();
}
