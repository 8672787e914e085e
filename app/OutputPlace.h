#pragma once

#include "platform/files/FileError.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace quillorn {

/// The folder that a command writes into: the one that was named, else the program's own. Neither
/// is made before there is something to write. Used by one thread.
class OutputPlace {
public:
    /// `settleOwn` finds, and may make, the program's own folder.
    OutputPlace(std::optional<std::string> named,
                std::function<FileResult<std::string>()> settleOwn)
        : m_named(std::move(named)), m_settleOwn(std::move(settleOwn)) {}

    /// Where a file of this name goes, with the folder made if it is missing. The error says why it
    /// cannot be, each time anew.
    [[nodiscard]] FileResult<std::string> targetFor(const std::string& name);

    /// A file of this name for messages: with its full path as far as that is known.
    [[nodiscard]] std::string nameOf(const std::string& name) const;

private:
    [[nodiscard]] FileResult<std::string> settled() const;

    std::optional<std::string> m_named;
    std::function<FileResult<std::string>()> m_settleOwn;
    std::optional<FileResult<std::string>> m_folder; ///< not set before the first target
};

} // namespace quillorn
