#pragma once

#include <condition_variable>
#include <mutex>
#include <set>
#include <stop_token>
#include <string>

namespace quillorn {

/// Lets one at a time of those who want the same name, of a file or of an engine; different names
/// do not wait for each other. Unlike with a mutex, who waits can be told to stop waiting. Any
/// thread; `stop` is of a source that no signal handler uses.
class NameTurns {
public:
    /// Waits for a name and has it until the end of this object, which the turns outlive.
    class Turn {
    public:
        Turn(NameTurns& turns, std::string name, const std::stop_token& stop);
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;
        ~Turn();
        /// False when the stop came first.
        [[nodiscard]] bool hasCome() const { return m_hasCome; }

    private:
        NameTurns& m_turns;
        std::string m_name;
        bool m_hasCome = false;
    };

private:
    std::mutex m_mutex; ///< guards m_taken
    std::condition_variable_any m_givenBack;
    std::set<std::string> m_taken;
};

} // namespace quillorn
