#include "support/CASObject.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

CASObject& CASObject::operator=(const CASObject& /*other*/) {
    return *this;
}

bool CASObject::operator==(const CASObject& /*other*/) const {
    return true;
}

void CASObject::LogMessage(ASLogType type, const char* format, ...) {
    if (format == nullptr)
        return;
    constexpr size_t bufferSize = 1024;
    char text[bufferSize] = {};
    char message[bufferSize] = {};
    std::strncpy(text, GetLogTypeStr(type), bufferSize - 1);
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started above
    std::vsnprintf(message, bufferSize, format, args);
    va_end(args);
    // A message that fills its buffer loses as many bytes as the prefix takes.
    const size_t used = std::strlen(text);
    const size_t length = std::min(std::strlen(message), bufferSize - 1 - used);
    std::memcpy(text + used, message, length);
    text[used + length] = '\0';
    ASLogTextA(text);
}
