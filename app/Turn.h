#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace quillorn {

/// Something that one thread has at a time, such as an engine. Unlike with a mutex, who waits for
/// it can be told to stop waiting. `stop` is of a source that no signal handler uses.
class Turn {
public:
    /// Whether it is the caller's turn now; `end` gives it on. False when a stop was requested.
    [[nodiscard]] bool begin(const std::stop_token& stop) {
        std::unique_lock lock(m_mutex);
        if (!m_ended.wait(lock, stop, [this]() { return !m_isTaken; }) || stop.stop_requested()) {
            return false;
        }
        m_isTaken = true;
        return true;
    }
    void end() {
        {
            const std::lock_guard lock(m_mutex);
            m_isTaken = false;
        }
        m_ended.notify_one();
    }

private:
    std::mutex m_mutex; ///< guards m_isTaken
    std::condition_variable_any m_ended;
    bool m_isTaken = false;
};

/// Holds a turn while it lives, if it came to it.
class TurnHolder {
public:
    TurnHolder(Turn& turn, const std::stop_token& stop)
        : m_turn(turn.begin(stop) ? &turn : nullptr) {}
    ~TurnHolder() {
        if (m_turn != nullptr) {
            m_turn->end();
        }
    }
    TurnHolder(const TurnHolder&) = delete;
    TurnHolder& operator=(const TurnHolder&) = delete;

    [[nodiscard]] bool isHeld() const { return m_turn != nullptr; }

private:
    Turn* m_turn;
};

} // namespace quillorn
