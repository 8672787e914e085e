#pragma once

#include "import/ImportRefusal.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quillorn {

/// "refused" of every report: file (its full path), message and reason of each.
[[nodiscard]] nlohmann::ordered_json refusalsJSON(const std::vector<ImportRefusal>& refusals);

/// Adds what every report ends with: "error" unless it is empty, and "status".
void addOutcome(nlohmann::ordered_json& object, const std::string& usageError, int status);

/// The object as text with a line end. Bytes that are no UTF-8 are replaced.
[[nodiscard]] std::string jsonText(const nlohmann::ordered_json& object);

} // namespace quillorn
