#include "app/MemoryLimit.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <sys/resource.h>
#include <system_error>

namespace quillorn {

namespace {

namespace fs = std::filesystem;

/// Far more than the program takes with small files: a document of 20,000 pages and 14 megabytes
/// is composed in a third of it.
constexpr std::uint64_t memoryInAnyCase = 1U << 30U;

/// Objects take some thirty times their text, and text packs to a tenth at best as a rule; but
/// most of what makes a file large is pictures and fonts, which are read piece by piece.
constexpr std::uint64_t memoryForEachByte = 128;

std::uint64_t sizeOf(const fs::path& path) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    return error ? 0 : size;
}

} // namespace

std::uint64_t sizeOfFiles(const std::vector<std::string>& paths) {
    std::uint64_t bytes = 0;
    for (const std::string& path : paths) {
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            bytes += sizeOf(path);
            continue;
        }
        for (fs::directory_iterator entry(path, error), end; !error && entry != end;
             entry.increment(error)) {
            bytes += sizeOf(entry->path());
        }
    }
    return bytes;
}

void limitMemoryForInputs(std::uint64_t inputBytes) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    if (inputBytes > (most - memoryInAnyCase) / memoryForEachByte) {
        return;
    }
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_DATA, &limit) == 0) {
        const rlim_t wanted = memoryInAnyCase + memoryForEachByte * inputBytes;
        limit.rlim_cur = std::min({limit.rlim_cur, limit.rlim_max, wanted});
        // A system that refuses leaves the old limit, which is no worse than none of ours.
        static_cast<void>(::setrlimit(RLIMIT_DATA, &limit));
    }
}

} // namespace quillorn
