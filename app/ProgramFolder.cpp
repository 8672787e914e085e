#include "app/ProgramFolder.h"

#include <system_error>

namespace quillorn {

std::filesystem::path programFolder() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

} // namespace quillorn
