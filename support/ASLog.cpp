#include "support/ASLog.h"

#include "support/detail/MutexLock.h"
#include "support/detail/TimeText.h"

#include <pthread.h>
#include <sys/timeb.h>

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <string>

namespace {

constexpr size_t lineSize = 2048;
constexpr size_t wideBufferSize = 8192;
constexpr size_t pathSize = 1024;
constexpr int32_t smallestTimeBuffer = 256;

// Set when a log file was opened and deliberately never cleared: see ASDeInitializeLog.
std::atomic<bool> m_bInitialize{false};
ASLogCallback g_fnLog = nullptr;
// Recursive, and alive for the whole process: a line logged after ASDeInitializeLog must find a
// mutex to take, not one that was destroyed.
pthread_mutex_t g_csLogFile = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

// The line buffers and the file handle lie in this order. All are touched under g_csLogFile only.
struct LogMemory {
    char g_szTemp1[lineSize];
    FILE* g_hLogFile;
    char g_szTemp2[lineSize];
    char g_szTemp3[wideBufferSize];
};
static_assert(sizeof(std::atomic<bool>) == 1);
static_assert(offsetof(LogMemory, g_szTemp1) < offsetof(LogMemory, g_hLogFile) &&
              offsetof(LogMemory, g_hLogFile) < offsetof(LogMemory, g_szTemp2) &&
              offsetof(LogMemory, g_szTemp2) < offsetof(LogMemory, g_szTemp3));
LogMemory g_memory = {};

// The module's load and unload hooks have nothing to do: the log lives from ASInitializeLog* to
// ASDeInitializeLog, not from load to unload.
[[gnu::constructor]] void LoadModule() {}
[[gnu::destructor]] void UnloadModule() {}

timeb CurrentTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    timeb result = {};
    result.time = now.tv_sec;
    result.millitm = static_cast<unsigned short>(now.tv_nsec / 1'000'000);
    return result;
}

// The time as a line prefix that ends in a blank, or as a file name.
void GetTimeString(char* buffer, int32_t size, const timeb* time, bool forFileName) {
    if (buffer == nullptr || size < smallestTimeBuffer)
        return;
    // Lines of one second share one conversion; like all buffers, under g_csLogFile.
    static time_t converted = -1;
    static char convertedText[ASTimeTextSize];
    if (converted != time->time || convertedText[0] == '\0') {
        ASMakeTimeText(convertedText, time->time);
        converted = time->time;
    }
    char text[ASTimeTextSize];
    std::memcpy(text, convertedText, ASTimeTextSize);
    if (forFileName) {
        ASMakeTimeTextFileName(text);
    } else {
        const size_t length = std::strlen(text);
        if (length > 0 && text[length - 1] == '\n')
            text[length - 1] = ' ';
    }
    std::memcpy(buffer, text, std::strlen(text) + 1);
}

// Time, text and newline; a text without room is cut, so that newline and zero byte always stand.
void BuildLine(char (&line)[lineSize], const char* text) {
    const timeb now = CurrentTime();
    GetTimeString(line, static_cast<int32_t>(lineSize), &now, false);
    const size_t used = std::strlen(line);
    const size_t length = strnlen(text, lineSize - used - 2);
    std::memcpy(line + used, text, length);
    line[used + length] = '\n';
    line[used + length + 1] = '\0';
}

// Writes the line and, deliberately, its zero byte. Without an open file (de-initialised, or let
// go by a wide line in callback mode) the line is dropped.
void WriteLine(const char* line) {
    if (g_memory.g_hLogFile == nullptr)
        return;
    std::fwrite(line, 1, std::strlen(line) + 1, g_memory.g_hLogFile);
    std::fflush(g_memory.g_hLogFile);
}

void Clear(char* buffer, size_t size) {
    std::memset(buffer, 0, size);
}

// Keeps what could be converted before the first character that cannot.
void ConvertLine(char (&buffer)[lineSize], const wchar_t* text) {
    std::wcstombs(buffer, text, lineSize - 1);
    buffer[lineSize - 1] = '\0';
}

void Printf_list(const char* format, va_list args) __attribute__((format(printf, 1, 0)));
void Printf_list(const char* format, va_list args) {
    if (!m_bInitialize || format == nullptr)
        return;
    const ASMutexLock lock(g_csLogFile);
    Clear(g_memory.g_szTemp1, lineSize);
    Clear(g_memory.g_szTemp2, lineSize);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): every caller has started it
    std::vsnprintf(g_memory.g_szTemp1, lineSize, format, args);
    BuildLine(g_memory.g_szTemp2, g_memory.g_szTemp1);
    if (g_fnLog != nullptr)
        g_fnLog(g_memory.g_szTemp2);
    else
        WriteLine(g_memory.g_szTemp2);
}

} // namespace

// The log owns its file from here to ASDeInitializeLog; a wide line in callback mode abandons it.
// NOLINTBEGIN(cppcoreguidelines-owning-memory)

bool ASInitializeLogA(const char* directory) {
    const ASMutexLock lock(g_csLogFile);
    if (m_bInitialize)
        return true;
    if (directory == nullptr)
        return false;
    char name[smallestTimeBuffer] = {};
    const timeb now = CurrentTime();
    GetTimeString(name, smallestTimeBuffer, &now, true);
    std::string path = directory;
    if (!path.ends_with('/'))
        path += '/';
    path += name;
    path += ".log";
    if (path.size() >= pathSize)
        return false;
    if (g_memory.g_hLogFile != nullptr)
        std::fclose(g_memory.g_hLogFile);
    g_memory.g_hLogFile = std::fopen(path.c_str(), "wt");
    m_bInitialize = g_memory.g_hLogFile != nullptr;
    return m_bInitialize;
}

bool ASInitializeLogW(const wchar_t* directory) {
    if (m_bInitialize || directory == nullptr)
        return ASInitializeLogA(nullptr);
    char narrow[pathSize] = {};
    if (std::wcstombs(narrow, directory, pathSize - 1) == static_cast<size_t>(-1))
        return false;
    return ASInitializeLogA(narrow);
}

bool ASInitializeLogEx(ASLogCallback callback) {
    const ASMutexLock lock(g_csLogFile);
    g_fnLog = callback;
    return true;
}

void ASDeInitializeLog() {
    if (!m_bInitialize)
        return;
    const ASMutexLock lock(g_csLogFile);
    if (g_memory.g_hLogFile != nullptr)
        std::fclose(g_memory.g_hLogFile);
    g_memory.g_hLogFile = nullptr;
    g_fnLog = nullptr;
    // m_bInitialize stays set, deliberately: the log of a process is opened once.
}

// NOLINTEND(cppcoreguidelines-owning-memory)

void ASLogTextA(const char* text) {
    if (!m_bInitialize || text == nullptr)
        return;
    const ASMutexLock lock(g_csLogFile);
    if (g_fnLog != nullptr) {
        g_fnLog(text);
    } else if (g_memory.g_hLogFile != nullptr) {
        Clear(g_memory.g_szTemp1, lineSize);
        Clear(g_memory.g_szTemp3, wideBufferSize);
        BuildLine(g_memory.g_szTemp1, text);
        WriteLine(g_memory.g_szTemp1);
    }
}

void ASLogTextW(const wchar_t* text) {
    if (!m_bInitialize || text == nullptr)
        return;
    const ASMutexLock lock(g_csLogFile);
    if (g_fnLog != nullptr) {
        // Deliberate: the clearing of both buffers takes the file handle between them along. The
        // file stays open, but nothing writes to it or closes it any more.
        Clear(g_memory.g_szTemp1, lineSize);
        g_memory.g_hLogFile = nullptr;
        Clear(g_memory.g_szTemp2, lineSize);
        ConvertLine(g_memory.g_szTemp1, text);
        g_fnLog(g_memory.g_szTemp1);
    } else if (g_memory.g_hLogFile != nullptr) {
        Clear(g_memory.g_szTemp1, lineSize);
        Clear(g_memory.g_szTemp2, lineSize);
        ConvertLine(g_memory.g_szTemp1, text);
        BuildLine(g_memory.g_szTemp2, g_memory.g_szTemp1);
        WriteLine(g_memory.g_szTemp2);
    }
}

void ASPrintfTextA(const char* format, ...) {
    va_list args;
    va_start(args, format);
    Printf_list(format, args);
    va_end(args);
}

void ASPrintfTextW(const wchar_t* format, ...) {
    if (format == nullptr)
        return;
    const size_t length = std::wcslen(format);
    std::string narrow(length, '\0');
    std::wcstombs(narrow.data(), format, length);
    va_list args;
    va_start(args, format);
    // The format is the caller's, in another alphabet: no compiler can check it here.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    Printf_list(narrow.c_str(), args);
#pragma GCC diagnostic pop
    va_end(args);
}

void ASPrintfTextV(const char* format, va_list args) {
    Printf_list(format, args);
}

const char* GetLogTypeStr(ASLogType type) {
    switch (type) {
    case ASLogTypeError:
        return "ERR:";
    case ASLogTypeWarning:
        return "WAR:";
    default:
        return "INFO:";
    }
}
