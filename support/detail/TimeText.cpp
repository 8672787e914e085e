#include "support/detail/TimeText.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

void ASMakeTimeText(char (&text)[ASTimeTextSize], time_t time) {
    text[0] = '\0';
    // ctime_r writes past 26 bytes for years beyond 9999: take its text through a larger buffer.
    char full[64] = {};
    if (ctime_r(&time, full) != nullptr && std::strlen(full) < ASTimeTextSize)
        std::memcpy(text, full, ASTimeTextSize);
}

void ASMakeTimeTextFileName(char* text) {
    const size_t length = std::strlen(text);
    std::replace(text, text + length, ':', '-');
    if (length > 0 && text[length - 1] == '\n')
        text[length - 1] = '\0';
}
