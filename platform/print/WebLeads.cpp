#include "platform/print/WebLeads.h"

#include <utility>

namespace quillorn {

namespace {

/// Who leads on more often leads in a circle.
constexpr int mostLeads = 10;

/// A refresh after a longer time is meant for reading the page first.
constexpr std::chrono::duration<double> longestDelay{0.5};

/// Nothing but the engine stands between a lead and the page that it leads to.
constexpr std::chrono::seconds patience{3};

} // namespace

void WebLeads::start(std::string url) {
    m_page = std::move(url);
    m_stage = Stage::none;
    m_wasServed = m_isShown = m_isLoaded = m_mustReload = false;
}

void WebLeads::enter(Stage stage, Clock::time_point now) {
    if (m_stage == Stage::none) {
        m_until = now + patience;
    }
    m_stage = stage;
}

void WebLeads::announce(std::chrono::duration<double> delay, Clock::time_point now) {
    if (!m_isOver && m_wasServed && m_stage == Stage::none && delay <= longestDelay) {
        enter(Stage::announced, now);
    }
}

void WebLeads::withdraw() {
    m_stage = m_stage == Stage::announced ? Stage::none : m_stage;
}

void WebLeads::begin(Clock::time_point now) {
    if (!m_isOver && m_wasServed) {
        enter(Stage::begun, now);
    }
}

bool WebLeads::ask(const std::string& url, bool isThere, Clock::time_point now) {
    if (!std::exchange(m_wasServed, true)) {
        return true;
    }
    if (m_isOver || !isThere || ++m_leads > mostLeads) {
        stay();
        return false;
    }
    enter(Stage::asked, now);
    m_next = url;
    return true;
}

void WebLeads::arrive() {
    if (!m_wasServed) {
        return; // what was there before the page
    }
    m_isLoaded = false;
    if (!std::exchange(m_isShown, true)) {
        return;
    }
    if (m_stage == Stage::asked) {
        m_page = std::move(m_next);
        m_stage = Stage::none;
    } else {
        m_isShown = false;
        stay();
    }
}

void WebLeads::fail() {
    if (m_stage == Stage::asked) {
        stay();
    }
}

void WebLeads::stay() {
    m_stage = Stage::none;
    m_mustReload = m_mustReload || (!m_isLoaded && !m_isOver);
}

void WebLeads::finish() {
    m_isOver = true;
    m_stage = Stage::none;
    m_mustReload = false;
}

void WebLeads::expire(Clock::time_point now) {
    if (m_stage != Stage::none && now >= m_until) {
        stay();
    }
}

std::optional<WebLeads::Clock::time_point> WebLeads::openUntil() const {
    return m_stage == Stage::none ? std::nullopt : std::optional(m_until);
}

std::optional<std::string> WebLeads::takeReload() {
    if (!m_mustReload) {
        return std::nullopt;
    }
    finish();
    return m_page;
}

} // namespace quillorn
