#pragma once

#include "platform/print/DevTools.h"
#include "platform/print/WebContent.h"
#include "platform/print/WebLeads.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace quillorn {

/// Answers what a page asks for: from its content, from the network where that is allowed, and
/// otherwise with a refusal at once, so that nothing waits for what will not come.
///
/// Whether the main frame gets another page than the one it was given, WebLeads decides.
class WebRequests {
public:
    using JSON = DevTools::JSON;

    /// `content` outlives this object.
    WebRequests(const WebContent& content, bool network) : m_content(content), m_network(network) {}

    /// The frame whose page is printed.
    void setMainFrame(std::string frame) { m_mainFrame = std::move(frame); }

    [[nodiscard]] WebLeads& leads() { return m_leads; }
    [[nodiscard]] const WebLeads& leads() const { return m_leads; }

    /// Answers a "Fetch.requestPaused" of a session. False when the engine takes no answer.
    bool answer(DevTools& devTools, const JSON& event, const std::string& session);

    /// Takes a "Network." event, which tells how far requests to other machines are.
    void note(const std::string& method, const JSON& event);

    /// The page at this address is about to be loaded, perhaps once more.
    void start(std::string url);

    /// Gives up the machines that have not answered yet, and with `all` set every other machine.
    /// They are refused at once when the page is loaded once more: a request that went out cannot
    /// be taken back without stopping the page amid its text.
    void giveUpSilentOnes(bool all);

    /// How many bytes the page was given.
    [[nodiscard]] std::size_t bytes() const { return m_bytes; }

    /// Since when other machines that were asked keep silent; nothing when none is waited for.
    [[nodiscard]] std::optional<DevTools::Clock::time_point> silentSince() const;

private:
    const WebContent& m_content;
    bool m_network;
    WebLeads m_leads;
    std::string m_mainFrame;
    std::string m_pageRequest; ///< the number of the latest that the main frame was given
    std::map<std::string, std::string> m_waitedFor; ///< requests on the net: hosts by number
    std::set<std::string> m_answering;              ///< hosts that have sent something
    std::set<std::string> m_silent;                 ///< hosts that were given up
    DevTools::Clock::time_point m_lastNews;
    std::size_t m_bytes = 0;
};

} // namespace quillorn
