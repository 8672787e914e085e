#pragma once

#include "platform/print/DevTools.h"
#include "platform/print/WebContent.h"

#include <chrono>
#include <optional>
#include <set>
#include <string>

namespace quillorn {

/// Answers what a page asks for: from its content, from the network where that is allowed, and
/// otherwise with a refusal at once, so that nothing waits for what will not come.
///
/// Only the first page of the main frame is let in: a page that leads elsewhere (a refresh, a
/// script) stays what it is.
class WebRequests {
public:
    using JSON = DevTools::JSON;

    /// `content` outlives this object.
    WebRequests(const WebContent& content, bool network) : m_content(content), m_network(network) {}

    /// The frame whose page is printed.
    void setMainFrame(std::string frame) { m_mainFrame = std::move(frame); }

    /// Answers a "Fetch.requestPaused" of a session. False when the engine takes no answer.
    bool answer(DevTools& devTools, const JSON& event, const std::string& session);

    /// Takes a "Network." event, which tells how far requests to other machines are.
    void note(const std::string& method, const JSON& event);

    /// Since when other machines that were asked keep silent; nothing when none is waited for.
    [[nodiscard]] std::optional<DevTools::Clock::time_point> silentSince() const;

private:
    bool isAllowed(const JSON& event, const std::string& url);

    const WebContent& m_content;
    bool m_network;
    bool m_startWasServed = false;
    std::string m_mainFrame;
    std::set<std::string> m_waitedFor; ///< requests that went to the network
    DevTools::Clock::time_point m_lastNews;
};

} // namespace quillorn
