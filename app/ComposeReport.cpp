#include "app/ComposeReport.h"

#include "app/ReportJSON.h"
#include "app/TerminalText.h"

namespace quillorn {

std::string composeReportJSON(const ComposeReport& report) {
    using Json = nlohmann::ordered_json;
    Json outputs = Json::array();
    for (const PDFWriteReport& output : report.outputs) {
        Json notes = Json::array();
        for (const PDFCarryNote& note : output.notes) {
            notes.push_back({{"kind", carryNoteName(note.kind)},
                             {"file", fullPath(note.file.string())},
                             {"count", note.count},
                             {"example", note.example},
                             {"text", note.text()}});
        }
        outputs.push_back({{"file", fullPath(output.file.string())},
                           {"pages", output.pages},
                           {"bytes", output.bytes},
                           {"notes", std::move(notes)}});
    }
    Json failed = Json::array();
    for (const FailedOutput& output : report.failed) {
        failed.push_back({{"file", output.file}, {"reason", output.reason}});
    }
    Json notices = Json::array();
    for (const FileNotice& notice : report.notices) {
        notices.push_back({{"file", fullPath(notice.file)}, {"text", notice.text}});
    }
    Json object = {{"outputs", std::move(outputs)},
                   {"refused", refusalsJSON(report.refused)},
                   {"failed", std::move(failed)},
                   {"notices", std::move(notices)}};
    addOutcome(object, report.error, report.status);
    return jsonText(object);
}

} // namespace quillorn
