#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

// Environment variables of one test; the old values come back after it.
class Environment {
public:
    Environment() = default;
    ~Environment() {
        for (const auto& [name, value] : m_before)
            Apply(name, value);
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    /// Sets a variable, or removes it.
    void set(const std::string& name, const std::optional<std::string>& value) {
        const char* before = std::getenv(name.c_str());
        m_before.try_emplace(name, before == nullptr ? std::nullopt : std::optional(before));
        Apply(name, value);
    }

private:
    static void Apply(const std::string& name, const std::optional<std::string>& value) {
        if (value)
            setenv(name.c_str(), value->c_str(), 1);
        else
            unsetenv(name.c_str());
    }
    std::map<std::string, std::optional<std::string>> m_before;
};
