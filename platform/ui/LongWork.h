#pragma once

#include <functional>
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
};

} // namespace quillorn
