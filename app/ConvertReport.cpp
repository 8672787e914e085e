#include "app/ConvertReport.h"

#include "app/ReportJSON.h"
#include "app/TerminalText.h"

#include <utility>

namespace quillorn {

std::string convertReportJSON(const ConvertReport& report) {
    using Json = nlohmann::ordered_json;
    Json outputs = Json::array();
    for (const ConvertedOutput& output : report.outputs) {
        outputs.push_back({{"source", output.source},
                           {"file", output.file},
                           {"bytes", output.bytes},
                           {"notices", output.notices}});
    }
    Json failed = Json::array();
    for (const FailedOutput& output : report.failed) {
        failed.push_back({{"file", output.file}, {"reason", output.reason}});
    }
    Json object = {{"outputs", std::move(outputs)},
                   {"refused", refusalsJSON(report.refused)},
                   {"failed", std::move(failed)}};
    addOutcome(object, report.error, report.status);
    return jsonText(object);
}

} // namespace quillorn
