#include <cstddef>
#include <mimalloc.h>
#include <new>

// The program's `new`, on top of the allocator that it is linked with. The allocator has one of its
// own, but as a C library it cannot throw: it ends the program where memory runs out, and a hostile
// document must not be able to do that. `delete` and the forms that return null are the
// allocator's.

namespace {

/// What `allocate` gives, as the standard wants it done: the handler of the program may free
/// memory or throw.
template <class Allocate>
void* allocated(Allocate&& allocate) {
    for (;;) {
        if (void* memory = allocate(); memory != nullptr) [[likely]] {
            return memory;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc();
        }
        handler();
    }
}

} // namespace

void* operator new(std::size_t size) {
    return allocated([size]() { return mi_malloc(size); });
}

void* operator new[](std::size_t size) {
    return allocated([size]() { return mi_malloc(size); });
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocated(
        [=]() { return mi_malloc_aligned(size, static_cast<std::size_t>(alignment)); });
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocated(
        [=]() { return mi_malloc_aligned(size, static_cast<std::size_t>(alignment)); });
}
