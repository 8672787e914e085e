#include "app/StoredPreferences.h"

#include "platform/files/BesideProgram.h"

#include <dlfcn.h>
#include <filesystem>

namespace quillorn {

FileResult<std::unique_ptr<Preferences>> openStoredPreferences() {
    const std::filesystem::path module = besideProgram("quillorn-settings.so");
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
