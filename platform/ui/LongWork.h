#pragma once

#include <functional>
#include <memory>
#include <stop_token>
#include <string>

namespace quillorn {

/// Runs what takes so long that the user wants to see that it goes on, and to be able to end it.
class LongWork {
public:
    using Work = std::function<void(const std::stop_token&)>;

    virtual ~LongWork() = default;

    /// Runs `work` and returns when it has ended. Called by the thread of the window, it runs the
    /// work on another thread and lets the window paint, but takes no input, until then; called by
    /// any other thread, it runs the work right there. Once it has taken a moment, `text` is
    /// shown beside a way to cancel; an empty text shows nothing, for work that shows itself.
    /// False when the user cancelled: the token was stopped, the work may have ended anyhow.
    [[nodiscard]] virtual bool run(const std::string& text, const Work& work) = 0;

    /// Work in several pieces, like a list of files, that the user sees and cancels as one: the
    /// pieces are run on what this returns, which ends with the last of them. A cancel counts
    /// between two pieces too, and once it came no piece is begun any more. `text` is shown until
    /// the first piece is. Used by the thread that asked for it; outlived by this.
    [[nodiscard]] virtual std::unique_ptr<LongWork> series(const std::string& text) = 0;
};

} // namespace quillorn
