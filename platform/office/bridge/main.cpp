#include "platform/office/bridge/OfficeServer.h"
#include "platform/office/engine/EnginePart.h"
#include "platform/office/engine/Strings.h"
#include "platform/office/worker/Confinement.h"
#include "platform/office/worker/Serve.h"

#include <array>
#include <chrono>
#include <com/sun/star/beans/NamedValue.hpp>
#include <com/sun/star/lang/DisposedException.hpp>
#include <com/sun/star/task/XJob.hpp>
#include <com/sun/star/uno/Any.hxx>
#include <com/sun/star/uno/Exception.hpp>
#include <com/sun/star/uno/Sequence.hxx>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

// The process between the program and the office engine. It alone speaks the engine's language,
// and has as few rights as the engine itself: whoever takes over one of them has won nothing.

namespace {

namespace fs = std::filesystem;
using namespace quillorn;
using com::sun::star::beans::NamedValue;
using com::sun::star::uno::Any;
using com::sun::star::uno::Sequence;
using conversion::Answer;
using conversion::Job;
using conversion::Outcome;

/// A first start from a cold disk takes seconds; the program is less patient than this.
constexpr std::chrono::minutes startPatience{5};

/// What our part of the engine makes of a document.
Answer converted(const office::OfficeServer& server, const Job& job, const fs::path& document,
                 const fs::path& pdf) {
    const auto named = [](const char* name, const Any& value) {
        return NamedValue(rtl::OUString::createFromAscii(name), value);
    };
    const Sequence<sal_Int8> header(reinterpret_cast<const sal_Int8*>(&job.header),
                                    sal_Int32{sizeof job.header});
    const std::array<NamedValue, 3> arguments = {
        named(office::headerArgument, Any(header)),
        named(office::documentArgument, Any(office::unoText(document.string()))),
        named(office::pdfArgument, Any(office::unoText(pdf.string())))};
    Sequence<NamedValue> answers;
    server.conversion()->execute({arguments.data(), sal_Int32{arguments.size()}}) >>= answers;
    Answer answer;
    for (const NamedValue& value : answers) {
        rtl::OUString text;
        sal_uInt32 outcome = 0;
        if (value.Value >>= text) {
            answer.text = office::plainText(text);
        } else if ((value.Value >>= outcome) &&
                   outcome == static_cast<sal_uInt32>(Outcome::converted)) {
            answer.outcome = Outcome::converted;
        }
    }
    return answer;
}

/// Opens a file that is there no more afterwards.
FileDescriptor openAndRemove(const fs::path& file) {
    FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    std::error_code ignored; // the folder is thrown away in any case
    fs::remove(file, ignored);
    return opened;
}

Answer convert(const office::OfficeServer& server, const Job& job, const fs::path& folder) {
    const fs::path input = folder / "document";
    const fs::path pdf = folder / "document.pdf";
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
    answer.pdf = openAndRemove(pdf);
    std::error_code ignored; // the folder is thrown away in any case
    fs::remove(input, ignored);
    fs::remove(fs::path(input) += ".odt", ignored);
    return answer;
}

/// Where our part of the engine is, which lies beside this program. A program that was put into the
/// temporary folder is out of sight once that has become a private one; so a copy is made before.
class Part {
public:
    Part(const fs::path& program, const fs::path& privateFolder)
        : m_beside(program.parent_path() / conversion::officePartName) {
        if (program.parent_path() != privateFolder) {
            std::error_code error; // then it has to be found beside the program
            fs::copy_file(m_beside, privateFolder / conversion::officePartName, error);
        }
    }
    /// `folder` is what the private folder is called now.
    [[nodiscard]] fs::path path(const fs::path& folder) const {
        std::error_code error;
        return fs::exists(m_beside, error) ? m_beside : folder / conversion::officePartName;
    }

private:
    fs::path m_beside;
};

int run(const fs::path& privateFolder) {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const Part besideProgram(program, privateFolder);
    const fs::path folder = conversion::enterPrivateTemporaryFolder(privateFolder);
    const fs::path part = besideProgram.path(folder);
    for (const char* const variable : {"HOME", "TMPDIR", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"}) {
        ::setenv(variable, folder.c_str(), 1);
    }
    ::setenv("SAL_USE_VCLPLUGIN", "svp", 1);
    conversion::confineFiles(folder, part);
    office::OfficeServer server(folder, part);
    const std::string trouble = server.start(std::chrono::steady_clock::now() + startPatience);
    if (!trouble.empty()) {
        conversion::announce({Outcome::unavailable, "the office engine: " + trouble});
        return 1;
    }
    if (!conversion::announce({Outcome::ready, {}})) {
        return 1;
    }
    return conversion::serve(
        [&server, &folder](const Job& job) { return convert(server, job, folder); });
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
