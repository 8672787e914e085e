#include "platform/office/bridge/Comments.h"
#include "platform/office/bridge/OfficeServer.h"
#include "platform/office/bridge/Strings.h"
#include "platform/office/bridge/WriterDocument.h"
#include "platform/office/worker/Confinement.h"
#include "platform/office/worker/Serve.h"

#include <chrono>
#include <com/sun/star/lang/DisposedException.hpp>
#include <com/sun/star/uno/Exception.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

// The process between the program and the office engine. It alone speaks the engine's language,
// and has as few rights as the engine itself: whoever takes over one of them has won nothing.

namespace {

namespace fs = std::filesystem;
using namespace quillorn;
using conversion::Answer;
using conversion::Job;
using conversion::Outcome;

/// A first start from a cold disk takes seconds; the program is less patient than this.
constexpr std::chrono::minutes startPatience{5};

Answer converted(office::OfficeServer& server, const Job& job, const fs::path& input,
                 const fs::path& pdf) {
    const char* filter = office::filterFor(job.header.format);
    fs::path file = input;
    if (office::mayHaveComments(job.document, job.header.format)) {
        file += ".odt";
        office::copyWithoutComments(server.context(), input, job.header.format, file);
        filter = "writer8";
    }
    office::WriterDocument document(server.desktop(), file, filter);
    if (!document.isText()) {
        return {Outcome::refused, "the office engine cannot read it as a text document"};
    }
    if (job.header.keepPageSetup == 0) {
        document.setPages(job.header);
    }
    Answer answer{Outcome::converted, {}};
    for (const std::string& font : document.missingFonts()) {
        answer.text += "its font " + font + " is not installed; another one takes its place\n";
    }
    document.exportPDF(pdf);
    return answer;
}

Answer convert(office::OfficeServer& server, const Job& job, const fs::path& pdf) {
    const fs::path input = pdf.parent_path() / "document";
    std::ofstream file(input, std::ios::binary | std::ios::trunc);
    file.write(job.document.data(), static_cast<std::streamsize>(job.document.size()));
    file.close();
    if (!file) {
        return {Outcome::unavailable, "there is no room for the document's copy"};
    }
    Answer answer;
    try {
        answer = converted(server, job, input, pdf);
    } catch (const com::sun::star::lang::DisposedException&) {
        answer = {Outcome::unavailable, "the office engine failed over it"};
    } catch (const com::sun::star::uno::Exception&) {
        // Its own words are for programmers.
        answer = {Outcome::refused, "the office engine cannot read it"};
    }
    std::error_code ignored; // the folder is thrown away in any case
    fs::remove(input, ignored);
    fs::remove(fs::path(input) += ".odt", ignored);
    return answer;
}

int run(const fs::path& privateFolder) {
    const fs::path folder = conversion::enterPrivateTemporaryFolder(privateFolder);
    for (const char* const variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) {
        ::setenv(variable, folder.c_str(), 1);
    }
    ::setenv("SAL_USE_VCLPLUGIN", "svp", 1);
    conversion::confineFiles(folder);
    office::OfficeServer server(folder);
    const std::string trouble = server.start(std::chrono::steady_clock::now() + startPatience);
    if (!trouble.empty()) {
        conversion::announce({Outcome::unavailable, "the office engine: " + trouble});
        return 1;
    }
    if (!conversion::announce({Outcome::ready, {}})) {
        return 1;
    }
    return conversion::serve(
        [&server](const Job& job, const fs::path& pdf) { return convert(server, job, pdf); },
        folder);
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
    } catch (const com::sun::star::uno::Exception& error) {
        static_cast<void>(
            std::fprintf(stderr, "%s\n", quillorn::office::plainText(error.Message).c_str()));
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    }
    // UNO's threads would wait for an engine that is about to be killed.
    std::_Exit(status);
}
