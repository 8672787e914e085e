#include "support/detail/PreferenceFile.h"

#include "support/detail/Platform.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    ~FileDescriptor() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int Get() const { return m_descriptor; }

private:
    int m_descriptor;
};

std::string PreferenceFolder() {
    return ASBaseFolder("XDG_CONFIG_HOME", ".config") + "/quillorn-support";
}

bool WriteAll(int descriptor, const char* bytes, size_t size) {
    while (size > 0) {
        const ssize_t written = write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

// Beside the file first, then over it: readers see the old values or the new.
bool ReplaceFile(const std::string& path, const char* bytes, size_t size) {
    std::string temporary = path + ".XXXXXX";
    const FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (file.Get() < 0)
        return false;
    if (WriteAll(file.Get(), bytes, size) && rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    unlink(temporary.c_str());
    return false;
}

bool WriteDictionary(const std::string& path, plist_t dictionary) {
    char* bytes = nullptr;
    uint32_t size = 0;
    plist_to_bin(dictionary, &bytes, &size);
    const bool written = bytes != nullptr && ReplaceFile(path, bytes, size);
    plist_to_bin_free(bytes);
    return written;
}

} // namespace

std::string ASApplicationPreferenceFile() {
    return PreferenceFolder() + "/applications/" + program_invocation_short_name + ".plist";
}

std::string ASGlobalPreferenceFile() {
    return PreferenceFolder() + "/global.plist";
}

bool ASChangePreference(const std::string& path, const char* key, ASPropertyList value) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    // The lock belongs to this descriptor, so it holds off other threads and other programs.
    const FileDescriptor lock(open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (lock.Get() < 0 || flock(lock.Get(), LOCK_EX) != 0)
        return false;
    ASPropertyList dictionary;
    if (ASReadDictionary(path, dictionary) == ASPropertyListState::Unreadable)
        return false;
    if (dictionary == nullptr)
        dictionary.reset(plist_new_dict());
    if (value != nullptr)
        plist_dict_set_item(dictionary.get(), key, value.release());
    else if (plist_dict_get_item(dictionary.get(), key) != nullptr)
        plist_dict_remove_item(dictionary.get(), key);
    else
        return true;
    return WriteDictionary(path, dictionary.get());
}
