#pragma once

#include <cstddef>
#include <ctime>

/// Bytes that a time text takes: 24 characters, a newline, a zero byte.
inline constexpr size_t ASTimeTextSize = 26;

/// Local time as "Sun Nov 15 00:47:29 2026\n"; empty when the year has more than four digits.
void ASMakeTimeText(char (&text)[ASTimeTextSize], time_t time);

/// Turns a time text into one that can name a file: ':' becomes '-', the newline goes.
void ASMakeTimeTextFileName(char* text);
