#pragma once

#include <cstddef>

namespace quillorn {

/// Makes `new` throw std::bad_alloc when memory runs out, whatever allocator the program is linked
/// with (some abort), and count it. For the whole process; called by its start.
void throwWhenMemoryRunsOut();

/// How often memory ran out for the calling thread. libqpdf takes an object for missing that it had
/// no memory for, so whoever used it compares before and after.
[[nodiscard]] std::size_t memoryShortages();

} // namespace quillorn
