#include "support/ASSystem.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr int64_t ticksPerSecond = 10'000'000;
constexpr uint32_t smallestTimeBuffer = 16;

// A product that wraps at 32 bits.
int32_t Product(int32_t left, int32_t right) {
    return static_cast<int32_t>(static_cast<uint32_t>(left) * static_cast<uint32_t>(right));
}

} // namespace

CASSize ASExtensionSize(int32_t sourceWidth, int32_t sourceHeight, int32_t boxWidth,
                        int32_t boxHeight) {
    if (sourceWidth <= 0 || sourceHeight <= 0 || boxWidth <= 0 || boxHeight <= 0)
        return {0, 0};
    if (Product(sourceWidth, boxHeight) <= Product(sourceHeight, boxWidth))
        return {Product(boxHeight, sourceWidth) / sourceHeight, boxHeight};
    return {boxWidth, Product(sourceHeight, boxWidth) / sourceWidth};
}

CASSize ASExtensionSize(const CASSize& source, const CASSize& box) {
    return ASExtensionSize(source.width, source.height, box.width, box.height);
}

CASSize ASExtensionSize(const CASSize& source, int32_t boxWidth, int32_t boxHeight) {
    return ASExtensionSize(source.width, source.height, boxWidth, boxHeight);
}

CASSize ASExtensionSize(int32_t sourceWidth, int32_t sourceHeight, const CASSize& box) {
    return ASExtensionSize(sourceWidth, sourceHeight, box.width, box.height);
}

char* ASConvertInt64ToTimeString(char* buffer, uint32_t size, int64_t ticks) {
    if (buffer == nullptr || size < smallestTimeBuffer)
        return buffer;
    std::memset(buffer, 0, size);
    const auto seconds = static_cast<int32_t>(ticks / ticksPerSecond);
    std::snprintf(buffer, size, "%02d:%02d:%02d", seconds / 3600, seconds % 3600 / 60,
                  seconds % 60);
    return buffer;
}

unsigned long long ASGetMemorySize() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0)
        return 0;
    return static_cast<unsigned long long>(pages) * static_cast<unsigned long long>(pageSize);
}

int32_t ASGetCpuCoreCount() {
    return static_cast<int32_t>(sysconf(_SC_NPROCESSORS_ONLN));
}
