#include "app/CommandOutput.h"

#include "app/HelpTexts.h"
#include "app/TerminalText.h"

#include <new>

namespace quillorn {

void printUsageError(std::ostream& stream, const UsageError& error) {
    stream << printable(error.message) << '\n';
    if (!error.detail.empty()) {
        stream << "  " << printable(error.detail) << '\n';
    }
    stream << helpHint(error.topic) << '\n';
}

void printRefusal(std::ostream& stream, const ImportRefusal& refusal) {
    stream << printable(refusal.message) << "\n  " << printable(fullPath(refusal.path)) << ": "
           << printable(refusal.reason) << '\n';
}

std::string goesNoFurther(std::ostream& stream, const std::exception& error) {
    std::string text = dynamic_cast<const std::bad_alloc*>(&error) != nullptr
                           ? "there is not enough memory"
                           : error.what();
    stream << "The program cannot go on: " << printable(text) << '\n';
    return text;
}

} // namespace quillorn
