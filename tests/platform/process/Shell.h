#pragma once

#include "platform/process/ChildProcess.h"

#include <chrono>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/types.h>
#include <vector>

namespace quillorn::tests {

/// A child that can be told in one line what to do.
inline ChildCommand shell(const std::string& script) {
    ChildCommand command;
    command.arguments = {"/bin/sh", "-c", script};
    return command;
}

/// Far above what any child of the tests needs.
constexpr std::chrono::seconds longEnough{60};

/// Whether a process runs; one that only waits for its parent to look does not.
inline bool isAlive(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t nameEnd = text.rfind(')');
    return nameEnd != std::string::npos && nameEnd + 2 < text.size() && text[nameEnd + 2] != 'Z';
}

inline std::vector<pid_t> processesIn(const std::string& text) {
    std::istringstream in(text);
    std::vector<pid_t> processes;
    for (pid_t process = 0; in >> process;) {
        processes.push_back(process);
    }
    return processes;
}

} // namespace quillorn::tests
