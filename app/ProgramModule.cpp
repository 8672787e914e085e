#include "app/ProgramModule.h"

#include "platform/files/BesideProgram.h"

#include <dlfcn.h>
#include <filesystem>

namespace quillorn {

FileResult<void*> functionInModule(std::string_view module, const char* function) {
    const std::filesystem::path path = besideProgram(module);
    void* const handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const symbol = handle != nullptr ? ::dlsym(handle, function) : nullptr;
    if (symbol == nullptr) {
        const char* const reason = ::dlerror();
        return tl::unexpected(FileError{path, reason != nullptr ? reason : "no such module", 0});
    }
    return symbol;
}

} // namespace quillorn
