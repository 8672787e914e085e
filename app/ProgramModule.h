#pragma once

#include "platform/files/FileError.h"

#include <string_view>

namespace quillorn {

/// The function of this name in a module that stands beside the program, which is loaded if need
/// be and stays loaded. Any thread. The error names the module when it is missing or does not fit.
[[nodiscard]] FileResult<void*> functionInModule(std::string_view module, const char* function);

} // namespace quillorn
