#include "import/NameTurns.h"

#include <utility>

namespace quillorn {

NameTurns::Turn::Turn(NameTurns& turns, std::string name, const std::stop_token& stop)
    : m_turns(turns), m_name(std::move(name)) {
    std::unique_lock lock(m_turns.m_mutex);
    m_hasCome = m_turns.m_givenBack.wait(lock, stop,
                                         [this]() { return !m_turns.m_taken.contains(m_name); });
    if (m_hasCome) {
        m_turns.m_taken.insert(m_name);
    }
}

NameTurns::Turn::~Turn() {
    if (!m_hasCome) {
        return;
    }
    {
        const std::lock_guard lock(m_turns.m_mutex);
        m_turns.m_taken.erase(m_name);
    }
    m_turns.m_givenBack.notify_all();
}

} // namespace quillorn
