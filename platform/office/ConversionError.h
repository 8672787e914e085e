#pragma once

#include <string>
#include <tl/expected.hpp>

namespace quillorn {

/// Why a text document did not become a PDF.
struct ConversionError {
    enum class Kind {
        refused,    ///< the document itself is the reason
        noEngine,   ///< there is nothing that could convert it
        notWritten, ///< the PDF could not be written
        cancelled
    };

    Kind kind = Kind::refused;
    std::string reason; ///< one line for people
};

template <class T>
using ConversionResult = tl::expected<T, ConversionError>;

} // namespace quillorn
