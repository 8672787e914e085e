#include "app/InfoCommand.h"

#include "app/ExitStatus.h"
#include "app/FileInfo.h"
#include "app/TerminalText.h"
#include "import/PDFIntake.h"

#include <utility>
#include <vector>

namespace quillorn {

int runInfoCommand(const InfoRequest& request, const CommandOutput& output) {
    const PDFIntake intake; // each file is read once and at once, so none needs a snapshot
    std::vector<FileInfo> infos;
    std::vector<ImportRefusal> refused;
    bool isFirst = true;
    for (const std::string& path : request.files) {
        auto source = intake.inspect(path, request.password.text);
        if (!source) {
            output.results << std::flush; // so that both streams stay in order where they meet
            printRefusal(output.troubles, source.error());
            refused.push_back(std::move(source.error()));
            continue;
        }
        if (request.countOnly) {
            if ((*source)->isLocked()) {
                refused.push_back(ImportRefusal::make(ImportRefusal::Kind::encrypted, path,
                                                      "a password is needed to count its pages"));
                printRefusal(output.troubles, refused.back());
                continue;
            }
            output.results << (*source)->pageCount();
            if (request.files.size() > 1) {
                output.results << '\t' << printable(path);
            }
            output.results << '\n';
            continue;
        }
        FileInfo info = FileInfo::of(**source);
        if (request.json) {
            infos.push_back(std::move(info));
        } else {
            output.results << (isFirst ? "" : "\n") << fileInfoText(info);
        }
        isFirst = false;
    }
    const int status = refused.empty() ? exit_status::done : exit_status::refused;
    if (request.json) {
        output.results << fileInfosJSON(infos, refused, {}, status);
    }
    return status;
}

} // namespace quillorn
