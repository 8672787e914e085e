#include "support/CASFile.h"

#include "support/detail/MutexLock.h"

#include <cerrno>
#include <cstring>

namespace {

const char* OpenMode(ASFileOperation operation) {
    switch (operation) {
    case ASFileOperationRead:
        return "rb";
    case ASFileOperationWrite:
        return "wb";
    case ASFileOperationReadAppend:
        return "a+";
    }
    return nullptr;
}

} // namespace

CASFile::CASFile(const char* path, ASFileOperation operation) {
    // Also without a path: the destructor takes the mutex.
    ASCreateRecursiveMutex(m_mutex);
    if (path == nullptr) {
        LogMessage(ASLogTypeError, "No spe file exist.");
        return;
    }
    m_operation = operation;
    const char* mode = OpenMode(operation);
    if (mode == nullptr) {
        LogMessage(ASLogTypeError, "Error File Operation: %d", static_cast<int>(operation));
        errno = EINVAL;
    }
    const size_t length = std::strlen(path);
    if (length >= sizeof m_path) {
        errno = ENAMETOOLONG;
    } else {
        std::memcpy(m_path, path, length + 1);
        if (mode != nullptr)
            m_hFile = std::fopen(path, mode); // NOLINT(cppcoreguidelines-owning-memory)
    }
    if (m_hFile == nullptr)
        LogMessage(ASLogTypeError, "Failed to create File: %s, error no: %d", path, errno);
}

CASFile::~CASFile() {
    {
        const ASMutexLock lock(m_mutex);
        if (m_hFile != nullptr)
            std::fclose(m_hFile); // NOLINT(cppcoreguidelines-owning-memory)
        m_hFile = nullptr;
    }
    pthread_mutex_destroy(&m_mutex);
}

char* CASFile::getPathFile() {
    return m_path;
}

int64_t CASFile::getFileSize() {
    const ASMutexLock lock(m_mutex);
    if (m_hFile == nullptr)
        return 0;
    std::fseek(m_hFile, 0, SEEK_END);
    return std::ftell(m_hFile);
}

int64_t CASFile::getFilePos() {
    const ASMutexLock lock(m_mutex);
    return m_hFile == nullptr ? 0 : std::ftell(m_hFile);
}

bool CASFile::seek(int64_t offset, ASFileSeek origin) {
    int whence = SEEK_SET;
    switch (origin) {
    case ASFileSeekBegin:
        break;
    case ASFileSeekCurrent:
        whence = SEEK_CUR;
        break;
    case ASFileSeekEnd:
        whence = SEEK_END;
        break;
    default:
        LogMessage(ASLogTypeError, "Error Seek Type: %d", static_cast<int>(origin));
        return false;
    }
    const ASMutexLock lock(m_mutex);
    if (m_hFile == nullptr)
        return false;
    const int result = std::fseek(m_hFile, static_cast<long>(offset), whence);
    if (result == 0)
        return true;
    // The number is what fseek returned, not errno.
    LogMessage(ASLogTypeError, "Failed to Seek File: %s, Error Code: %d", m_path, result);
    return false;
}

// Under the mutex, with an open file. At the current position a stream that reads and writes still
// needs a seek between the two directions.
bool CASFile::Position(int32_t position) {
    if (position >= 0)
        return std::fseek(m_hFile, position, SEEK_SET) == 0;
    if (m_operation == ASFileOperationReadAppend)
        std::fseek(m_hFile, 0, SEEK_CUR);
    return true;
}

// What reading and writing share, behind their checks of mode and buffer: `move` transfers.
template <typename Move>
int32_t CASFile::Transfer(int32_t count, int32_t size, int32_t position, const char* seekWord,
                          const char* purpose, Move move) {
    if (count < 0 || size < 0)
        return -1;
    const ASMutexLock lock(m_mutex);
    if (m_hFile == nullptr) {
        LogMessage(ASLogTypeError, "Error File Stream Handle.");
        return -1;
    }
    if (!Position(position)) {
        LogMessage(ASLogTypeError, "Failed to %s Pos(%d) to %s.", seekWord, position, purpose);
        return -1;
    }
    return static_cast<int32_t>(move(static_cast<size_t>(size), static_cast<size_t>(count)));
}

int32_t CASFile::writeBytes(const void* buffer, int32_t count, int32_t size, int32_t position) {
    if (m_operation != ASFileOperationWrite && m_operation != ASFileOperationReadAppend) {
        LogMessage(ASLogTypeError, "Write Operation Can't allowed.");
        return -1;
    }
    if (buffer == nullptr) {
        LogMessage(ASLogTypeWarning, "Error buffer in to write.");
        return 0;
    }
    return Transfer(count, size, position, "Seek", "Write", [&](size_t bytes, size_t items) {
        return std::fwrite(buffer, bytes, items, m_hFile);
    });
}

int32_t CASFile::readBytes(void* buffer, int32_t count, int32_t size, int32_t position) {
    if (m_operation != ASFileOperationRead && m_operation != ASFileOperationReadAppend) {
        LogMessage(ASLogTypeError, "Read Operation Can't allowed.");
        return -1;
    }
    if (buffer == nullptr) {
        LogMessage(ASLogTypeWarning, "Error buffer out to read.");
        return 0;
    }
    return Transfer(count, size, position, "seek", "read", [&](size_t bytes, size_t items) {
        return std::fread(buffer, bytes, items, m_hFile);
    });
}
