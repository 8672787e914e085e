#pragma once

#include "platform/print/DevTools.h"
#include "platform/print/WebContent.h"

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace quillorn {

/// Answers what a page asks for: from its content, from the network where that is allowed, and
/// otherwise with a refusal at once, so that nothing waits for what will not come.
///
/// A page that leads on to another of its own content while it loads is followed. Otherwise the
/// page in the main frame stays what it is, wherever a script or a refresh would lead.
class WebRequests {
public:
    using JSON = DevTools::JSON;

    /// `content` outlives this object.
    WebRequests(const WebContent& content, bool network) : m_content(content), m_network(network) {}

    /// The frame whose page is printed.
    void setMainFrame(std::string frame) { m_mainFrame = std::move(frame); }

    /// Whether the page may still lead to another one.
    void setFollowing(bool follows) { m_follows = follows; }
    /// Whether the page tried to lead where it must not, since this was asked last. Such a page
    /// may wait for ever for what it did not get.
    [[nodiscard]] bool takeLeadAstray() { return std::exchange(m_leadAstray, false); }
    /// Whether another page was let in that the main frame does not show yet.
    [[nodiscard]] bool isFollowing() const { return m_isFollowing; }
    void setArrived() { m_isFollowing = false; }

    /// Answers a "Fetch.requestPaused" of a session. False when the engine takes no answer.
    bool answer(DevTools& devTools, const JSON& event, const std::string& session);

    /// Takes a "Network." event, which tells how far requests to other machines are.
    void note(const std::string& method, const JSON& event);

    /// The page is to be loaded once more, from its start.
    void restart();

    /// Gives up the machines that have not answered yet, and with `all` set every other machine.
    /// They are refused at once when the page is loaded once more: a request that went out cannot
    /// be taken back without stopping the page amid its text.
    void giveUpSilentOnes(bool all);

    /// Since when other machines that were asked keep silent; nothing when none is waited for.
    [[nodiscard]] std::optional<DevTools::Clock::time_point> silentSince() const;

private:
    /// Whether a page may come into the main frame.
    bool mayLeadTo(const std::string& url);

    const WebContent& m_content;
    bool m_network;
    bool m_startWasServed = false;
    bool m_follows = true;
    bool m_isFollowing = false;
    bool m_leadAstray = false;
    std::string m_mainFrame;
    std::map<std::string, std::string> m_waitedFor; ///< requests on the net: hosts by number
    std::set<std::string> m_answering;              ///< hosts that have sent something
    std::set<std::string> m_silent;                 ///< hosts that were given up
    DevTools::Clock::time_point m_lastNews;
};

} // namespace quillorn
