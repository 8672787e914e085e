#include "app/StoredPreferences.h"

#include <dlfcn.h>
#include <filesystem>
#include <system_error>

namespace quillorn {

FileResult<std::unique_ptr<Preferences>> openStoredPreferences() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path module = program.parent_path() / "quillorn-settings.so";
    void* const handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const symbol = handle != nullptr ? ::dlsym(handle, "quillornOpenPreferences") : nullptr;
    if (symbol == nullptr) {
        const char* const reason = ::dlerror();
        return tl::unexpected(FileError{module, reason != nullptr ? reason : "no such module", 0});
    }
    const auto open = reinterpret_cast<Preferences* (*)()>(symbol);
    return std::unique_ptr<Preferences>(open());
}

} // namespace quillorn
