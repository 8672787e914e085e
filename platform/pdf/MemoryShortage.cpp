#include "platform/pdf/MemoryShortage.h"

#include <new>

namespace quillorn {

namespace {

thread_local std::size_t shortages = 0;

} // namespace

void throwWhenMemoryRunsOut() {
    std::set_new_handler([]() {
        ++shortages;
        throw std::bad_alloc();
    });
}

std::size_t memoryShortages() {
    return shortages;
}

} // namespace quillorn
