#include "app/CommandOutput.h"

#include "app/HelpTexts.h"
#include "app/TerminalText.h"

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

} // namespace quillorn
