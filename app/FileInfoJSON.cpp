#include "app/FileInfo.h"
#include "app/PageLabelSummary.h"
#include "app/ReportJSON.h"

#include <utility>

namespace quillorn {

namespace {

using Json = nlohmann::ordered_json;

Json permissionsJSON(const PDFPermissions& allowed) {
    return {{"copying", allowed.copying},
            {"printing", allowed.printing},
            {"printingHighRes", allowed.printingHighRes},
            {"accessibility", allowed.accessibility},
            {"assembly", allowed.assembly},
            {"formFilling", allowed.formFilling},
            {"annotating", allowed.annotating},
            {"modifying", allowed.modifying}};
}

Json infoJSON(const FileInfo& info) {
    Json object = {
        {"file", info.path},
        {"pages", nullptr},
        {"bytes", info.bytes},
        {"version", std::to_string(info.version.major) + "." + std::to_string(info.version.minor)},
        {"encrypted", info.encrypted},
        {"locked", info.locked},
        {"permissions", nullptr},
        {"firstPage", nullptr},
        {"labels", nullptr},
        {"warnings", info.warnings}};
    if (!info.locked) {
        object["pages"] = info.pages;
        object["permissions"] = permissionsJSON(info.permissions);
        if (auto labels = pageLabels(info.labelRanges, info.pages)) {
            object["labels"] = std::move(*labels);
        } else {
            object["warnings"].push_back("its page labels are too long to be listed");
        }
    }
    if (info.firstPage) {
        object["firstPage"] = {{"width", info.firstPage->size.width},
                               {"height", info.firstPage->size.height},
                               {"rotation", info.firstPage->rotation}};
    }
    return object;
}

} // namespace

std::string fileInfosJSON(const std::vector<FileInfo>& infos,
                          const std::vector<ImportRefusal>& refused, const std::string& usageError,
                          int status) {
    Json files = Json::array();
    for (const FileInfo& info : infos) {
        files.push_back(infoJSON(info));
    }
    Json object = {{"files", std::move(files)}, {"refused", refusalsJSON(refused)}};
    addOutcome(object, usageError, status);
    return jsonText(object);
}

} // namespace quillorn
