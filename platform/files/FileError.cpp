#include "platform/files/FileError.h"

#include <system_error>
#include <utility>

namespace quillorn {

std::string errnoText(int errnoValue) {
    return std::generic_category().message(errnoValue);
}

FileError FileError::fromErrno(std::filesystem::path file, int errnoValue,
                               const std::string& what) {
    std::string reason = what.empty() ? errnoText(errnoValue) : what + ": " + errnoText(errnoValue);
    return FileError{std::move(file), std::move(reason), errnoValue};
}

} // namespace quillorn
