#include "support/ASLog.h"

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

// Formatted lines with the local time, on disk (flushed) after each line. spdlog also without
// flushing, its usual way; the support library's log always flushes.

namespace {

// A folder for the log files, removed at exit. Without one there is nothing to measure.
class LogFolder {
public:
    LogFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "log_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("cannot make a folder like " + name);
        m_path = name;
    }
    ~LogFolder() {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    LogFolder(const LogFolder&) = delete;
    LogFolder& operator=(const LogFolder&) = delete;
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

const std::string& Folder() {
    static const LogFolder folder;
    return folder.path();
}

void LinesToSupportLog(benchmark::State& state) {
    if (!ASInitializeLogA(Folder().c_str())) {
        state.SkipWithError("the log cannot be opened");
        return;
    }
    int line = 0;
    while (state.KeepRunning())
        ASPrintfTextA("page %d of %s is done", ++line, "a document");
    state.SetItemsProcessed(state.iterations());
}

void LinesToSpdlog(benchmark::State& state, bool flushEachLine) {
    const std::string name = flushEachLine ? "flushed" : "buffered";
    static const auto makeLogger = [](const std::string& logger) {
        auto made = spdlog::get(logger);
        return made != nullptr ? made
                               : spdlog::basic_logger_mt(logger, Folder() + "/" + logger + ".log");
    };
    const auto logger = makeLogger(name);
    logger->set_pattern("%a %b %e %H:%M:%S %Y %v");
    logger->flush_on(flushEachLine ? spdlog::level::trace : spdlog::level::off);
    int line = 0;
    while (state.KeepRunning())
        logger->info("page {} of {} is done", ++line, "a document");
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(LinesToSupportLog)->UseRealTime();
BENCHMARK_CAPTURE(LinesToSpdlog, flushed, true)->UseRealTime();
BENCHMARK_CAPTURE(LinesToSpdlog, buffered, false)->UseRealTime();

} // namespace
