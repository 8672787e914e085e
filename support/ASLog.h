#pragma once

#include <cstdarg>
#include <cstdint>

// Process-wide text log: one file per run, or a callback instead of the file.
//
//     ASInitializeLogA("/var/log/mytool");     // opens "Sun Nov 15 00-47-29 2026.log" there
//     ASLogTextA("started");                   // "Sun Nov 15 00:47:30 2026 started\n\0"
//     ASPrintfTextA("%d files", 5);
//     ASDeInitializeLog();
//
// Every line of the file is the 24 characters of local time, a blank, the text, a newline and a
// zero byte; the zero byte is deliberate, it ends a record for readers that map the file.
// Functions ending in A take narrow (multibyte) text, those ending in W wide text, converted with
// the C locale in force. Lines longer than 2,048 bytes (time, newline and zero included) are cut.
//
// Threads: any thread may log; one recursive mutex keeps lines whole. Initialise and de-initialise
// once, from one thread. A callback runs under the mutex: it must not log itself (it would be
// called again without end), nor use pools, queues and files that other threads use (those log
// while they hold their own mutexes).
// Errors: none is reported; without an open log every call does nothing. Null texts are ignored.

/// Kind of a message; every value but 1 and 2 counts as information.
enum ASLogType : int32_t {
    ASLogTypeInformation = 0,
    ASLogTypeError = 1,
    ASLogTypeWarning = 2,
};

/// Receives log text; the pointer is valid during the call only. Called under the log's mutex.
using ASLogCallback = void (*)(const char* text);

/// Opens the log file of this run in `directory`. True when a file is open, also when an earlier
/// call opened it (nothing is reopened then, and the directory is not looked at). False for null,
/// for a path of 1,024 bytes or more, and when the file cannot be created. An empty directory
/// means the root folder.
bool ASInitializeLogA(const char* directory);
/// As above; false also when the directory cannot be converted.
bool ASInitializeLogW(const wchar_t* directory);
/// Sends text to `callback` instead of the file (null: back to the file). Takes effect only once
/// a log file was opened. Always true.
bool ASInitializeLogEx(ASLogCallback callback);
/// Closes the file and forgets the callback. Deliberately final: the log counts as initialised
/// for the rest of the process, so a later ASInitializeLogA returns true and opens nothing.
void ASDeInitializeLog();

/// One line, the text as given. A callback gets the text alone: no time, no newline.
void ASLogTextA(const char* text);
/// As above. In callback mode the first wide line also lets go of the log file without closing
/// it, deliberately: lines after the callback is removed go nowhere.
void ASLogTextW(const wchar_t* text);

/// One line, formatted as by printf. A callback gets the whole line, time and newline included.
void ASPrintfTextA(const char* format, ...) __attribute__((format(printf, 1, 2)));
/// As above; the arguments are those of the narrow printf. The converted format keeps as many
/// bytes as the wide format has characters, so multibyte characters in it cost its end.
void ASPrintfTextW(const wchar_t* format, ...);
void ASPrintfTextV(const char* format, va_list args) __attribute__((format(printf, 1, 0)));

/// "ERR:", "WAR:" or "INFO:".
const char* GetLogTypeStr(ASLogType type);
