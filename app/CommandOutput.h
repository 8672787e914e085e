#pragma once

#include "app/CommandLine.h"
#include "import/ImportRefusal.h"

#include <cstddef>
#include <exception>
#include <ostream>
#include <string>

namespace quillorn {

/// Where a command speaks: its results and its troubles. The streams are not owned.
struct CommandOutput {
    std::ostream& results;
    std::ostream& troubles;
    std::size_t progressWidth = 0; ///< columns of the terminal for progress; 0 for no progress
};

/// The message for the user, then the reason with the full path, then where more is to be read.
void printUsageError(std::ostream& stream, const UsageError& error);

/// The message for the user, then the reason with the full path.
void printRefusal(std::ostream& stream, const ImportRefusal& refusal);

/// Tells of an exception that ended a command, such as a want of memory; returns its text.
std::string goesNoFurther(std::ostream& stream, const std::exception& error);

} // namespace quillorn
