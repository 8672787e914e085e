#pragma once

#include "platform/files/FileError.h"

#include <optional>
#include <string>
#include <string_view>

namespace quillorn {

/// Settings that the program remembers from run to run: texts (UTF-8) by key.
/// Used by one thread at a time.
class Preferences {
public:
    virtual ~Preferences() = default;

    /// Nothing when the key was never set, or its value is no text.
    [[nodiscard]] virtual std::optional<std::string> stringForKey(std::string_view key) const = 0;

    /// Remembers a value. It counts in this run even where it cannot be kept for the next.
    [[nodiscard]] virtual FileResult<void> setStringForKey(std::string_view key,
                                                           std::string_view value) = 0;
};

/// The keys that the program uses.
namespace preference_key {
inline constexpr std::string_view saveFilePlace = "SaveFilePlace"; ///< the output folder
inline constexpr std::string_view addFilePath = "AddFilePath";     ///< the open panel's last folder
inline constexpr std::string_view toolbar =
    "Toolbar Identifier"; ///< where the toolbar is, if shown
/// "true": text documents keep their own paper, margins, headers and footers.
inline constexpr std::string_view keepPageSetup = "KeepPageSetup";
/// "true": web pages may fetch from other machines.
inline constexpr std::string_view allowRemote = "AllowRemote";
} // namespace preference_key

} // namespace quillorn
