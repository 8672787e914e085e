#pragma once

#include "support/CASObject.h"

#include <cstdint>

// File-system and system queries as plain zero-terminated texts, and a small persistent key-value
// store. Paths are in the file system's own bytes, keys and stored texts in UTF-8. No state: any
// thread may use any object. Errors: false or null and a log line.
//
//     CASFileManager files;
//     char folder[4096];
//     if (files.GetApplicationSupportPath(folder, sizeof folder) != nullptr)
//         files.CreateDirectroy(folder);
//
// Standard folders on this system: application support is $XDG_DATA_HOME (default
// ~/.local/share); the user's documentation (not the documents) is "doc" inside it; movies are
// "Movies" in the home folder; temporary files go to $TMPDIR or /tmp. Their sizes are deliberately
// not compared with the path's length: the buffer must have room for a full path (4,096 bytes). A
// longer path fails like a missing buffer.
//
// Key-value store: property lists below $XDG_CONFIG_HOME/quillorn-support (default
// ~/.config/quillorn-support). Texts belong to the program ("applications/<program>.plist"),
// binary values to all programs of the user ("global.plist"). Values are on disk when a call
// returns; programs that write at the same time take turns.
class CASFileManager : public CASObject {
public:
    using CASObject::operator=;

    /// True when the path exists (symbolic links are followed); *isDirectory, if given, says
    /// whether it is a folder and is false for a path that does not exist.
    bool PathFileExist(const char* path, bool* isDirectory);
    /// Makes the folder and those above it. True when the path exists afterwards.
    bool CreateDirectroy(const char* path);
    /// Removes a file, or a folder with all it holds; a symbolic link itself. True when it is gone
    /// afterwards. Failures carry the creation's message, deliberately. The root folder is refused.
    bool DeleteFile(const char* path);
    /// Fills the buffer (26 bytes at least) with the local time as a file name,
    /// "Sun Nov 15 00-47-29 2026". Returns the buffer, untouched when the size is 0.
    char* CreateFileName(char* buffer, uint32_t size);

    /// The buffer, or null.
    char* GetApplicationSupportPath(char* buffer, uint32_t size);
    char* GetUserDocPath(char* buffer, uint32_t size);
    char* GetUserMoviePath(char* buffer, uint32_t size);
    char* GetUserTempPath(char* buffer, uint32_t size);

    /// "major.minor.bugfix" of the kernel; the text is overwritten by the thread's next call.
    const char* getOSVersion();
    /// True from version 10.7 on, by the numbers alone.
    bool OSVersionOverLion();

    /// True when the path lies on CD or DVD media. When that cannot be found out (no such path, no
    /// device, a network volume) the answer deliberately is whether "/Volumes/" contains the path.
    bool isCDMediaPath(const char* path);

    /// Stores a text; false for null, for text that is not UTF-8 and when it cannot be written.
    bool SetKeyValue(const char* value, const char* key);
    /// The stored text, or null. Copy it at once: the thread's next call overwrites it.
    const char* GetKeyValue(const char* key);
    /// Stores `size` bytes; false for null and when they cannot be written.
    bool SetKeyValue(const void* data, uint32_t size, const char* key);
    /// True when the key exists; copies `size` bytes of its value, or all there are if fewer.
    bool GetKeyValue(void* buffer, uint32_t size, const char* key);
    /// Removes a binary value; false for null and when the change cannot be written.
    bool RemoveKeyValue(const char* key);
};
