#pragma once

#include <filesystem>
#include <string>
#include <tl/expected.hpp>

namespace quillorn {

/// A file operation that failed: which file, and why, as one line for people.
struct FileError {
    std::filesystem::path file;
    std::string reason;
    int errnoValue = 0; ///< 0 where no system call said why

    /// The reason is the system's text for `errnoValue`, after `what` ("cannot open") if given.
    [[nodiscard]] static FileError fromErrno(std::filesystem::path file, int errnoValue,
                                             const std::string& what = {});
};

template <class T>
using FileResult = tl::expected<T, FileError>;

/// The system's text for an errno value. Thread-safe.
[[nodiscard]] std::string errnoText(int errnoValue);

} // namespace quillorn
