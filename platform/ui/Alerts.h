#pragma once

#include <functional>
#include <string>

namespace quillorn {

/// A message that waits for the user.
struct Alert {
    std::string title;
    std::string message;
    std::string defaultButton = "OK";
    std::string alternateButton = {}; ///< empty: there is no second button
    bool operator==(const Alert&) const = default;
};

enum class AlertAnswer { alternateButton = 0, defaultButton = 1 };

/// Shows messages. Belongs to the thread of the window.
class Alerts {
public:
    virtual ~Alerts() = default;

    /// Application-modal; returns once the user has answered. Closing the message without a
    /// button counts as the alternate one.
    virtual AlertAnswer runModal(const Alert& alert) = 0;

    /// A sheet on the main window. `ended` is called once, with the answer, by the thread of the
    /// window: before this returns or later.
    virtual void beginSheet(const Alert& alert, std::function<void(AlertAnswer)> ended) = 0;
};

} // namespace quillorn
