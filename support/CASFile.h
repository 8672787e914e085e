#pragma once

#include "support/CASObject.h"

#include <pthread.h>

#include <cstdint>
#include <cstdio>

enum ASFileOperation : int32_t {
    ASFileOperationRead = 0,       // "rb"
    ASFileOperationWrite = 1,      // "wb": truncates or creates
    ASFileOperationReadAppend = 2, // "a+": creates if missing, reads anywhere, writes at the end
};

enum ASFileSeek : int32_t {
    ASFileSeekBegin = 0,
    ASFileSeekCurrent = 1,
    ASFileSeekEnd = 2,
};

// A file stream with a fixed mode, safe to share between threads.
//
//     CASFile file("/tmp/table.bin", ASFileOperationRead);
//     uint32_t head[3];
//     if (file.readBytes(head, 3, sizeof head[0], 0) != 3) ...
//
// Positions and sizes are bytes. Every call holds the object's recursive mutex, so a read or write
// with a position (seek, then transfer) is one step for other threads. Errors: return values and a
// log line; the object stays usable, and one whose file could not be opened fails every call.
class CASFile : public CASObject {
public:
    /// Opens the file. Paths of 1,024 bytes or more are refused (ENAMETOOLONG is logged, the
    /// stored path is empty); a null path leaves an object without a file in read mode.
    CASFile(const char* path, ASFileOperation operation);
    ~CASFile() override;
    CASFile(const CASFile&) = delete;
    CASFile& operator=(const CASFile&) = delete;
    using CASObject::operator=;

    /// The path given at construction; the object's own memory.
    char* getPathFile();
    /// Size of the file, 0 without one. Deliberately leaves the stream at the end of the file.
    int64_t getFileSize();
    /// Position of the stream, 0 without a file.
    int64_t getFilePos();
    /// Moves the stream; false on failure.
    bool seek(int64_t offset, ASFileSeek origin);

    /// Transfers `count` items of `size` bytes at `position` from the beginning, or at the current
    /// position when that is negative. The number of whole items transferred; 0 for a null buffer;
    /// -1 when the mode forbids it, without a file, when positioning fails and for a negative
    /// count or size.
    int32_t writeBytes(const void* buffer, int32_t count, int32_t size, int32_t position);
    int32_t readBytes(void* buffer, int32_t count, int32_t size, int32_t position);

private:
    friend struct SupportLayoutProbe;

    bool Position(int32_t position);
    template <typename Move>
    int32_t Transfer(int32_t count, int32_t size, int32_t position, const char* seekWord,
                     const char* purpose, Move move);

    FILE* m_hFile = nullptr;
    ASFileOperation m_operation = ASFileOperationRead;
    char m_path[1024] = {};
    pthread_mutex_t m_mutex;
};
