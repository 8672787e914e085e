#include "tests/fakes/Environment.h"

#include <cstdlib>
#include <utility>

namespace quillorn::tests {

namespace {

void set(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        ::setenv(name.c_str(), value->c_str(), 1);
    } else {
        ::unsetenv(name.c_str());
    }
}

} // namespace

EnvironmentVariable::EnvironmentVariable(std::string name, const std::optional<std::string>& value)
    : m_name(std::move(name)) {
    if (const char* const before = std::getenv(m_name.c_str())) {
        m_before = before;
    }
    set(m_name, value);
}

EnvironmentVariable::~EnvironmentVariable() {
    set(m_name, m_before);
}

} // namespace quillorn::tests
