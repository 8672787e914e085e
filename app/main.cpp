#include "app/CommandLineProgram.h"
#include "app/ExitStatus.h"
#include "app/Interrupts.h"
#include "app/MemoryLimit.h"
#include "app/StoredPreferences.h"
#include "app/WindowStart.h"
#include "composer/OutputFolder.h"
#include "platform/files/BesideProgram.h"
#include "platform/files/FileDescriptor.h"
#include "platform/pdf/MemoryShortage.h"
#include "platform/ui/HomeFolder.h"
#include "platform/ui/Preferences.h"

#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

/// The columns of the terminal that standard error goes to; 0 when it goes elsewhere.
std::size_t terminalWidth() {
    constexpr std::size_t usualWidth = 80;
    if (::isatty(STDERR_FILENO) == 0) {
        return 0;
    }
    struct winsize size {};
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : usualWidth;
}

quillorn::FileResult<std::string> defaultOutputFolder() {
    const auto preferences = quillorn::openStoredPreferences();
    if (!preferences) {
        return tl::unexpected(preferences.error());
    }
    return quillorn::InitAppPath(**preferences, quillorn::homeFolder());
}

/// A preference that cannot be read is one that was never set.
bool isPreferred(std::string_view key) {
    const auto preferences = quillorn::openStoredPreferences();
    return preferences && (*preferences)->stringForKey(key) == "true";
}

bool prefersPageSetup() {
    return isPreferred(quillorn::preference_key::keepPageSetup);
}

bool prefersRemote() {
    return isPreferred(quillorn::preference_key::allowRemote);
}

void prepareForInputs([[maybe_unused]] std::uint64_t bytes) {
#ifdef QUILLORN_LIMIT_MEMORY
    quillorn::limitMemoryForInputs(bytes);
#endif
}

/// Runs the command and makes sure that what it had to say was heard.
int runProgram(quillorn::CommandLineProgram& program, const std::vector<std::string>& words) {
    int status = program.run(words);
    if (!std::cout.flush()) {
        std::cerr << "Standard output cannot be written.\n";
        status = status == quillorn::exit_status::done ? quillorn::exit_status::notWritten : status;
    }
    return status;
}

} // namespace

// The locale stays "C": libraries that read numbers with it would take "0.5" of a PDF for 0 where
// people write "0,5". What depends on the user's locale asks for it by itself.
int main(int argc, char** argv) {
#ifdef QUILLORN_QUICK_EXIT
    constexpr bool endsAfterwards = true;
#else
    constexpr bool endsAfterwards = false;
#endif
    quillorn::raiseOpenFileLimit();
    quillorn::ignoreSignalsOfWriting();
    quillorn::throwWhenMemoryRunsOut();
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    try {
        if (const auto files = quillorn::filesForWindow(words, quillorn::hasDisplay())) {
            return quillorn::runWindow(argc, argv, *files);
        }
        quillorn::CommandLineProgram program({{std::cout, std::cerr, terminalWidth()},
                                              defaultOutputFolder,
                                              quillorn::Interrupts::watch,
                                              quillorn::Interrupts::exitStatus,
                                              prepareForInputs,
                                              endsAfterwards,
                                              quillorn::besideProgram(""),
                                              prefersPageSetup,
                                              prefersRemote});
        const int status = runProgram(program, words);
        if (endsAfterwards) {
            // Everything is written and flushed; giving back a large document piece by piece
            // would only keep the user waiting.
            std::_Exit(status);
        }
        return status;
    } catch (const std::exception& error) {
        std::cerr << "The program cannot go on: " << error.what() << '\n';
        return quillorn::exit_status::notWritten;
    }
}
