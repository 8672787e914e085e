#pragma once

#include <nlohmann/json.hpp>
#include <string>

/// What stands in a JSON object of another program's, whatever that sent: a member that is missing
/// or of another type reads as empty, and nothing throws.
namespace quillorn::json {

[[nodiscard]] inline std::string text(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

[[nodiscard]] inline double number(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_number() ? found->get<double>() : 0;
}

[[nodiscard]] inline bool flag(const nlohmann::json& object, const char* key, bool otherwise) {
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() ? found->get<bool>() : otherwise;
}

[[nodiscard]] inline nlohmann::json inner(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_object() ? *found : nlohmann::json::object();
}

} // namespace quillorn::json
