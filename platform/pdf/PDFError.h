#pragma once

#include "platform/files/FileError.h"

#include <filesystem>
#include <string>
#include <tl/expected.hpp>

namespace quillorn {

/// Why an operation on a PDF failed, with the file it concerns and one line for people.
struct PDFError {
    enum class Kind {
        unreadable,    ///< no such file, no permission, not a regular file, a read error
        notPDF,        ///< the content is no PDF, or too damaged to be used as one
        locked,        ///< a password is needed
        wrongPassword, ///< the given password does not open the file
        changed,       ///< the file was rewritten in place while it was open
        damagedPage,   ///< the file is a PDF, but a page of it cannot be read
        tooLarge,      ///< memory ran out
        cannotWrite,   ///< the output could not be produced
        cancelled
    };

    Kind kind;
    std::filesystem::path file;
    std::string reason;

    [[nodiscard]] static PDFError unreadable(const FileError& error);
    [[nodiscard]] static PDFError cannotWrite(const FileError& error);
};

template <class T>
using PDFResult = tl::expected<T, PDFError>;

} // namespace quillorn
