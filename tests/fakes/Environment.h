#pragma once

#include <optional>
#include <string>

namespace quillorn::tests {

/// Sets an environment variable of this process, or removes it, until the end of its scope.
class EnvironmentVariable {
public:
    EnvironmentVariable(std::string name, const std::optional<std::string>& value);
    ~EnvironmentVariable();
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    std::string m_name;
    std::optional<std::string> m_before;
};

} // namespace quillorn::tests
