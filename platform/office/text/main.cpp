#include "platform/office/text/TextDecoding.h"
#include "platform/office/text/TextLayout.h"
#include "platform/office/worker/Serve.h"
#include "platform/sandbox/Confinement.h"

#include <QGuiApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// The process that lays plain text out. Apart from the program, because the libraries for that
// take longer to load than most commands take, and because shaping letters is what foreign text
// may attack.

namespace {

namespace fs = std::filesystem;
using namespace quillorn;
using conversion::Answer;
using conversion::Job;
using conversion::Outcome;

Answer convert(const Job& job, const FileDescriptor& output) {
    const auto decoded = text::decodedText(job.document);
    if (!decoded) {
        return {Outcome::refused, decoded.error()};
    }
    if (::ftruncate(output.get(), 0) != 0 || ::lseek(output.get(), 0, SEEK_SET) != 0) {
        return {Outcome::unavailable, "its pages have no place"};
    }
    switch (text::writeTextPDF(*decoded, job.header, output.get())) {
    case text::TextPDF::written:
        return {Outcome::converted, {}, FileDescriptor(::dup(output.get()))};
    case text::TextPDF::tooLong:
        return {Outcome::refused,
                "it has more than " + std::to_string(text::mostTextPages) + " pages"};
    case text::TextPDF::notWritten:
        break;
    }
    return {Outcome::refused, "there is no room for its pages"};
}

/// Fonts, and what the libraries read. The user's own fonts lie elsewhere than this process
/// thinks, whose home folder is private.
std::vector<std::string> readableFolders() {
    std::vector<std::string> folders = systemFolders();
    if (const char* const data = std::getenv("XDG_DATA_HOME")) {
        folders.push_back(std::string(data) + "/fonts");
    }
    return folders;
}

int run(const fs::path& folder) {
    const fs::path name = folder / "document.pdf";
    const FileDescriptor output(
        ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!output.isOpen() || ::unlink(name.c_str()) != 0) {
        conversion::announce({Outcome::unavailable, "its pages have no place"});
        return 1;
    }
    // What is open stays so, and nothing else is ever written.
    confine(readableFolders());
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int noArguments = 1;
    char program[] = "quillorn-text-worker";
    char* words[] = {program, nullptr};
    const QGuiApplication application(noArguments, words);
    if (!conversion::announce({Outcome::ready, {}})) {
        return 1;
    }
    return conversion::serve([&output](const Job& job) { return convert(job, output); });
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        static_cast<void>(std::fputs("This helper is started by the program itself.\n", stderr));
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a limit that is met shows as an error
    int status = 1;
    try {
        status = run(argv[1]);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    }
    // Nothing is worth taking apart in a process that ends.
    std::_Exit(status);
}
