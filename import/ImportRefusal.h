#pragma once

#include "platform/pdf/PDFError.h"

#include <string>
#include <string_view>

namespace quillorn {

/// The texts that tell the user why a file is not imported; "%@" stands for the last component
/// of its path.
namespace import_message {
inline constexpr std::string_view notLegal = "%@ is not a legal file.";
inline constexpr std::string_view encrypted = "%@ is encrypted.";
inline constexpr std::string_view wrongPassword = "Password entered is incorrect!";
} // namespace import_message

/// A file that was not imported, and why.
struct ImportRefusal {
    enum class Kind {
        notLegal,      ///< no PDF, unreadable, or changed while it was read
        encrypted,     ///< locked, or forbids copying or printing: a password is needed
        wrongPassword, ///< does not open the file, or does not allow copying and printing
        needsConverter ///< would have to be converted first
    };

    Kind kind = Kind::notLegal;
    std::string path;
    std::string message; ///< the text for the user, complete
    std::string reason;  ///< one line without the path, for those who ask why

    /// Refuses `path` with the message of `kind`.
    [[nodiscard]] static ImportRefusal make(Kind kind, const std::string& path, std::string reason);

    /// The refusal that an error of opening `path` means.
    [[nodiscard]] static ImportRefusal fromError(const std::string& path, const PDFError& error);

    /// Whether the window keeps silent about it: for a file of an HTML route that is no PDF, the
    /// conversion before it is what failed.
    [[nodiscard]] bool isSilentInWindow() const;
};

} // namespace quillorn
