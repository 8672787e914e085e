#include "benchmarks/window/ProcessTree.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>

namespace bench {

namespace {

struct Entry {
    pid_t parent = 0;
    double processorTime = 0; // seconds
};

std::optional<Entry> readEntry(pid_t process) {
    std::ifstream stream("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(stream, text);
    // The name stands in brackets and may hold anything, brackets too.
    const std::size_t behindName = text.rfind(')');
    if (behindName == std::string::npos) {
        return std::nullopt; // it has ended
    }
    std::istringstream words(text.substr(behindName + 1));
    Entry entry;
    std::string state;
    words >> state >> entry.parent;
    std::string skipped;
    for (int i = 0; i < 9; ++i) {
        words >> skipped;
    }
    double ticks = 0;
    for (int i = 0; i < 4; ++i) { // user, system, and both of ended children
        double part = 0;
        words >> part;
        ticks += part;
    }
    entry.processorTime = ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
    return words ? std::optional(entry) : std::nullopt;
}

std::map<pid_t, Entry> allProcesses() {
    std::map<pid_t, Entry> all;
    std::error_code error;
    for (const auto& folder : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = folder.path().filename().string();
        pid_t process = 0;
        const auto [end, wrong] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (wrong != std::errc() || end != name.data() + name.size()) {
            continue;
        }
        if (const auto entry = readEntry(process)) {
            all.emplace(process, *entry);
        }
    }
    return all;
}

void addMemory(pid_t process, ProcessTree& tree) {
    std::ifstream stream("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        std::string name;
        std::uint64_t kib = 0;
        words >> name >> kib;
        if (name == "Pss:") {
            tree.proportional += kib;
        } else if (name == "Rss:") {
            tree.resident += kib;
        }
    }
}

} // namespace

ProcessTree ProcessTree::of(pid_t root, bool withMemory) {
    const std::map<pid_t, Entry> all = allProcesses();
    ProcessTree tree;
    for (const auto& [process, entry] : all) {
        pid_t ancestor = process;
        for (auto at = all.find(ancestor); at != all.end() && ancestor != root;
             at = all.find(ancestor)) {
            ancestor = at->second.parent;
        }
        if (ancestor != root) {
            continue;
        }
        tree.processes.push_back(process);
        tree.processorTime += entry.processorTime;
        if (withMemory) {
            addMemory(process, tree);
        }
    }
    return tree;
}

} // namespace bench
