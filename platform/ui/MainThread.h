#pragma once

#include <functional>

namespace quillorn {

/// Hands work to the thread of the window, in the order of the calls. Any thread.
class MainThread {
public:
    virtual ~MainThread() = default;
    [[nodiscard]] virtual bool isCurrent() const = 0;
    /// Runs `work` there and returns when it is done; at once when called there. False, without
    /// having run it, when the window is on its way out.
    virtual bool runAndWait(const std::function<void()>& work) = 0;
    /// The same without waiting. Work that the window's end overtakes is dropped.
    virtual void post(std::function<void()> work) = 0;
};

} // namespace quillorn
