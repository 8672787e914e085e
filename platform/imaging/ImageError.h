#pragma once

#include <filesystem>
#include <string>
#include <tl/expected.hpp>

namespace quillorn {

/// Why an image could not be read, with the file that it concerns and one line for people.
struct ImageError {
    enum class Kind {
        unreadable, ///< no such file, no permission, not a regular file, a read error
        notImage,   ///< no image of a known format, or too damaged to be used as one
        tooLarge,   ///< more pixels, bytes, memory or time than an image may take
        noReader,   ///< the program that reads such images is missing or cannot be started
        cancelled
    };

    Kind kind;
    std::filesystem::path file;
    std::string reason;
};

template <class T>
using ImageResult = tl::expected<T, ImageError>;

} // namespace quillorn
