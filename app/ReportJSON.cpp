#include "app/ReportJSON.h"

#include "app/TerminalText.h"

namespace quillorn {

nlohmann::ordered_json refusalsJSON(const std::vector<ImportRefusal>& refusals) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const ImportRefusal& refusal : refusals) {
        list.push_back({{"file", fullPath(refusal.path)},
                        {"message", refusal.message},
                        {"reason", refusal.reason}});
    }
    return list;
}

void addOutcome(nlohmann::ordered_json& object, const std::string& usageError, int status) {
    if (!usageError.empty()) {
        object["error"] = usageError;
    }
    object["status"] = status;
}

std::string jsonText(const nlohmann::ordered_json& object) {
    constexpr int indentation = 2;
    return object.dump(indentation, ' ', false, nlohmann::ordered_json::error_handler_t::replace) +
           "\n";
}

} // namespace quillorn
