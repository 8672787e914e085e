#include "platform/office/text/TextDecoding.h"
#include "platform/office/text/TextLayout.h"
#include "platform/office/worker/Confinement.h"
#include "platform/office/worker/Serve.h"

#include <QGuiApplication>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

// The process that lays plain text out. Apart from the program, because the libraries for that
// take longer to load than most commands take, and because shaping letters is what foreign text
// may attack.

namespace {

namespace fs = std::filesystem;
using namespace quillorn;
using conversion::Answer;
using conversion::Job;
using conversion::Outcome;

Answer convert(const Job& job, const fs::path& pdf) {
    const auto decoded = text::decodedText(job.document);
    if (!decoded) {
        return {Outcome::refused, decoded.error()};
    }
    if (!text::writeTextPDF(*decoded, job.header, pdf)) {
        return {Outcome::refused, "there is no room for its pages"};
    }
    return {Outcome::converted, {}};
}

int run(const fs::path& folder) {
    conversion::confineFiles(folder);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int noArguments = 1;
    char name[] = "quillorn-text-worker";
    char* words[] = {name, nullptr};
    const QGuiApplication application(noArguments, words);
    if (!conversion::announce({Outcome::ready, {}})) {
        return 1;
    }
    return conversion::serve(convert, folder);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        static_cast<void>(std::fputs("This helper is started by the program itself.\n", stderr));
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    int status = 1;
    try {
        status = run(argv[1]);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    }
    // Nothing is worth taking apart in a process that ends.
    std::_Exit(status);
}
