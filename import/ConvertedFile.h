#pragma once

#include <string>
#include <vector>

namespace quillorn {

/// A file that was turned into a PDF.
struct ConvertedFile {
    std::string pdf;                    ///< its path
    std::vector<std::string> notices{}; ///< what people should know about it, a line each
};

} // namespace quillorn
