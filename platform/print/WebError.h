#pragma once

#include <string>
#include <tl/expected.hpp>

namespace quillorn {

/// Why a web page was not loaded or printed.
struct WebError {
    enum class Kind {
        refused,    ///< the page itself is the reason
        noEngine,   ///< there is nothing that could show it
        notWritten, ///< the PDF could not be written
        cancelled
    };

    Kind kind = Kind::refused;
    std::string reason; ///< one line for people
};

template <class T>
using WebResult = tl::expected<T, WebError>;

} // namespace quillorn
