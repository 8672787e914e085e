#pragma once

#include "platform/files/FileError.h"
#include "platform/print/DevTools.h"
#include "platform/print/WebPlace.h"
#include "platform/process/ChildFolder.h"
#include "platform/process/ChildProcess.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace quillorn {

/// The headless browser that lays pages out: one child process for a run of the program, started
/// when a page first needs it and kept for the next ones. It works with a fresh profile in a
/// private folder, under limits, without privileges, and without a network unless that is wanted.
///
/// Used by one WebView at a time, on one thread. The destructor ends it.
class WebEngine {
public:
    struct Options {
        bool network = false; ///< whether pages may fetch from other machines
        /// The browsers to try, best first.
        std::vector<std::filesystem::path> programs = installedPrograms();
        std::uint64_t dataBytes = std::uint64_t{2} << 30U; ///< memory of each of its processes
    };

    WebEngine() : WebEngine(Options()) {}
    explicit WebEngine(Options options) : m_options(std::move(options)) {}
    WebEngine(const WebEngine&) = delete;
    WebEngine& operator=(const WebEngine&) = delete;
    ~WebEngine();

    /// The connection to the running browser, which is started unless it runs. Stays valid until
    /// the next call of this or of `end`. The error says why there is none.
    [[nodiscard]] FileResult<DevTools*> connect(const std::stop_token& stop = {});

    /// Ends the browser. The next `connect` starts another.
    void end();

    /// Begins to make an empty page for later, in the browser that runs, unless there is one: a
    /// page's own process takes longer to start than many a page to be printed.
    void prepareSpare(const WebPlace::Size& size);
    /// Shows the pages that wait a message of the browser's; see WebPlace.h.
    void dealWithSpare(const DevTools::JSON& message);
    /// Keeps a quiet page that was cleared, for the next that needs no scripts.
    void keepQuiet(WebPlace place);
    /// The page that was kept, else the spare one if there is one; whatever their size, and
    /// perhaps still on their way.
    [[nodiscard]] std::optional<WebPlace> takeQuiet();
    /// The spare page, as it is; nothing without one.
    [[nodiscard]] std::optional<WebPlace> takeSpare();

    [[nodiscard]] bool hasNetwork() const { return m_options.network; }
    /// 0 while it does not run.
    [[nodiscard]] pid_t processGroup() const { return m_run ? m_run->child.processGroup() : 0; }

    /// The browsers of this system that can be used, best first: absolute paths.
    [[nodiscard]] static std::vector<std::filesystem::path> installedPrograms();

private:
    struct Run {
        Run(ChildFolder profileFolder, ChildProcess process)
            : folder(std::move(profileFolder)), child(std::move(process)), devTools(child) {}
        ChildFolder folder; ///< outlives the process
        ChildProcess child;
        DevTools devTools;
        std::optional<WebPlace> spare;
        std::optional<WebPlace> quiet; ///< used before, for pages without scripts
    };

    /// Where the system lets nobody have namespaces (some containers), the engine's own sandbox
    /// cannot be set up: the error is EPERM, and it must do with what its keeper takes from it.
    FileResult<std::unique_ptr<Run>> start(const std::filesystem::path& program, bool ownSandbox,
                                           const std::stop_token& stop) const;

    Options m_options;
    std::unique_ptr<Run> m_run;
};

} // namespace quillorn
