#include "support/ASPlatform.h"

#include "support/detail/MutexLock.h"
#include "support/detail/Platform.h"

#include <pthread.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

// A text that may be set; empty means the default.
class Setting {
public:
    void Set(const char* text) {
        const ASMutexLock lock(m_mutex);
        m_text = text == nullptr ? "" : text;
    }
    std::string Get() {
        const ASMutexLock lock(m_mutex);
        return m_text;
    }

private:
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    std::string m_text;
};

Setting& ResourceFolderSetting() {
    static Setting setting;
    return setting;
}

Setting& SystemFolderSetting() {
    static Setting setting;
    return setting;
}

Setting& SystemReleaseSetting() {
    static Setting setting;
    return setting;
}

std::string DefaultResourceFolder() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const auto shared = folder.parent_path() / "share" / program_invocation_short_name;
    return std::filesystem::is_directory(shared, error) ? shared.string()
                                                        : (folder / "Resources").string();
}

} // namespace

void ASSetResourceFolder(const char* folder) {
    ResourceFolderSetting().Set(folder);
}

const char* ASGetResourceFolder() {
    thread_local std::string folder;
    folder = ASResourceFolder();
    return folder.c_str(); // NOLINT(clang-analyzer-cplusplus.InnerPointer): the thread's own until
                           // its next call
}

void ASSetSystemFolder(const char* folder) {
    SystemFolderSetting().Set(folder);
}

void ASSetSystemRelease(const char* release) {
    SystemReleaseSetting().Set(release);
}

std::string ASResourceFolder() {
    std::string folder = ResourceFolderSetting().Get();
    if (folder.empty())
        folder = DefaultResourceFolder();
    while (folder.size() > 1 && folder.ends_with('/'))
        folder.pop_back();
    return folder;
}

std::string ASSystemFolder() {
    const std::string folder = SystemFolderSetting().Get();
    return folder.empty() ? "/sys" : folder;
}

std::string ASSystemRelease() {
    std::string release = SystemReleaseSetting().Get();
    if (!release.empty())
        return release;
    utsname system = {};
    return uname(&system) == 0 ? system.release : "";
}

std::string ASHomeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0')
        return home;
    constexpr size_t entrySize = 16384;
    std::vector<char> memory(entrySize);
    passwd entry = {};
    passwd* found = nullptr;
    getpwuid_r(getuid(), &entry, memory.data(), memory.size(), &found);
    return found == nullptr ? "/" : found->pw_dir;
}

std::string ASBaseFolder(const char* variable, const char* fallback) {
    const char* folder = std::getenv(variable);
    if (folder != nullptr && *folder == '/')
        return folder;
    return ASHomeFolder() + "/" + fallback;
}
