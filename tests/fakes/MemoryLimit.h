#pragma once

#include <cstdint>
#include <sys/resource.h>

namespace quillorn::tests {

/// Lets this process take no more memory (bytes, the soft RLIMIT_DATA) until the end of its scope,
/// as the program does with itself.
class MemoryLimit {
public:
    explicit MemoryLimit(std::uint64_t bytes) {
        ::getrlimit(RLIMIT_DATA, &m_before);
        const struct rlimit limit { bytes, m_before.rlim_max };
        ::setrlimit(RLIMIT_DATA, &limit);
    }
    ~MemoryLimit() { ::setrlimit(RLIMIT_DATA, &m_before); }
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

private:
    struct rlimit m_before {};
};

} // namespace quillorn::tests
