#pragma once

#include "tests/app/window/WindowFixture.h"

#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {

/// A window that is given bad files, and a user who answers whatever it asks.
class TroubleFixture : public WindowFixture {
protected:
    /// From now on every message is noted ("title: text") and confirmed. What asks for a password
    /// gets `password`, or is left when there is none.
    void answerEverything(std::optional<std::string> password = std::nullopt);
    [[nodiscard]] const Texts& messages() const { return m_messages; }
    /// What the line at the foot of the window told, all of it.
    [[nodiscard]] std::string told();

    /// Takes files in and waits until nothing goes on any more, whatever became of them.
    void offer(const Texts& paths);
    /// Puts a file's pages into an output group of its own.
    void group(const std::string& title, const std::string& name);
    /// Saves, and waits until that is over.
    void save();
    /// The texts of a saved file's pages; empty without the file.
    [[nodiscard]] Texts saved(const std::string& name) const;
    /// "Page 1 of NAME" and so on.
    [[nodiscard]] static Texts pagesNamed(const std::string& name, std::size_t count);

private:
    void lookForQuestions();

    QObject m_user; ///< context of the timers
    bool m_isAnswering = false;
    std::optional<std::string> m_password;
    Texts m_messages;
};

} // namespace quillorn::tests
