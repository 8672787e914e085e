#include "platform/files/BesideProgram.h"

#include <system_error>

namespace quillorn {

std::filesystem::path besideProgram(std::string_view name) {
    std::error_code error; // without /proc the name alone is left, which is then not found
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return program.parent_path() / name;
}

} // namespace quillorn
