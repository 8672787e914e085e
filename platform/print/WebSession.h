#pragma once

#include "platform/print/DevTools.h"
#include "platform/print/WebContent.h"
#include "platform/print/WebEngine.h"
#include "platform/print/WebError.h"
#include "platform/print/WebPlace.h"
#include "platform/print/WebRequests.h"

#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {

/// One page in the web engine, apart from all others, and the talk about it: requests with their
/// answers, and events that are dealt with whenever something is waited for. Script dialogs are
/// dismissed, downloads and further windows denied.
class WebSession {
public:
    using Clock = DevTools::Clock;
    using JSON = DevTools::JSON;

    /// `engine` and `content` outlive this object.
    WebSession(WebEngine& engine, const WebContent& content, std::stop_token stop);
    WebSession(const WebSession&) = delete;
    WebSession& operator=(const WebSession&) = delete;
    /// Gives the page up. A page that misbehaved takes the engine along.
    ~WebSession();

    /// Opens an empty page. Without scripts it may be one that has shown another before.
    WebResult<void> open(const WebPlace::Size& size, bool scripts, Clock::time_point deadline);
    /// Whether the engine ran before, and may have been dying.
    [[nodiscard]] bool isEngineKept() const { return m_isEngineKept; }
    /// Begins to make a page like it for the next session of this engine.
    void prepareNext() { m_engine.prepareSpare(m_place->size()); }

    /// Sends a request about the page and waits for its answer.
    WebResult<JSON> call(const std::string& method, JSON parameters, Clock::time_point deadline);
    /// The same about a frame in a process of its own.
    WebResult<JSON> callFrame(const std::string& frameSession, const std::string& method,
                              JSON parameters, Clock::time_point deadline) {
        return answerTo(send(method, std::move(parameters), frameSession), deadline);
    }
    /// Sends one whose answer is fetched later. Requests are dealt with one after the other.
    [[nodiscard]] std::optional<int> ask(const std::string& method, JSON parameters);
    /// Waits for the answer to such a request.
    WebResult<JSON> answerTo(std::optional<int> question, Clock::time_point deadline);
    /// Sends one whose answer is of no interest.
    void tell(const std::string& method, JSON parameters);
    /// Runs a script where the page's own scripts can neither see nor change what it uses.
    /// Returns what the engine says of its value.
    WebResult<JSON> evaluate(const std::string& script, Clock::time_point deadline);
    /// The same in two steps. An error before the script is sent stands in the question.
    WebResult<int> askToEvaluate(const std::string& script, Clock::time_point deadline);
    WebResult<JSON> valueOf(const WebResult<int>& question, Clock::time_point deadline);

    /// Deals with what happens until the deadline or the next event; `done` stands for an event.
    [[nodiscard]] WebWait waitForEvent(Clock::time_point deadline);
    /// What a wait that did not go well means for the page.
    [[nodiscard]] WebError errorOf(WebWait wait) const;

    /// A frame that the engine keeps in a process of its own.
    struct ForeignFrame {
        std::string session;
        std::string frame;
    };
    /// Those that came since this was asked last and are still there.
    [[nodiscard]] std::vector<ForeignFrame> takeForeignFrames() {
        return std::exchange(m_foreignFrames, {});
    }
    /// A frame is about to be loaded.
    void expectLoadOf(const std::string& frame) { m_expected.insert(frame); }
    /// Whether such a frame has not loaded yet.
    [[nodiscard]] bool expectsLoads() const { return !m_expected.empty(); }

    /// The engine's name for what the main frame shows.
    [[nodiscard]] const std::string& loader() const { return m_loader; }
    [[nodiscard]] bool hasCrashed() const { return m_hasCrashed; }
    [[nodiscard]] WebRequests& requests() { return m_requests; }
    /// The style sheets seen since "CSS.enable".
    [[nodiscard]] const std::set<std::string>& styleSheets() const { return m_styleSheets; }
    /// From now on the page counts as well behaved: the engine may be kept.
    void setFine() { m_isFine = true; }
    /// And so may the page itself, if it is quiet: it was easy to deal with.
    void setLight() { m_isLight = true; }

private:
    WebResult<void> waitForPlace(Clock::time_point deadline);
    [[nodiscard]] WebError noEngine(const FileError& error) const;
    void deal(JSON message);
    /// Deals with an event about the main frame or another one.
    void dealWithFrame(const std::string& method, const JSON& event);
    std::optional<int> send(const std::string& method, JSON parameters, const std::string& session);

    WebEngine& m_engine;
    WebRequests m_requests;
    std::stop_token m_stop;
    DevTools* m_devTools = nullptr;   ///< the engine's; null before `open`
    std::optional<WebPlace> m_place;  ///< the page; nothing before `open`
    std::set<std::string> m_sessions; ///< the page's and those of its frames and workers
    std::string m_loader;             ///< of the main frame's document
    std::set<std::string> m_loaded;   ///< loaders whose documents are complete
    std::vector<ForeignFrame> m_foreignFrames;
    std::set<std::string> m_expected; ///< frames whose load is waited for
    std::set<std::string> m_styleSheets;
    std::set<int> m_asked;         ///< requests whose answers are of interest
    std::map<int, JSON> m_answers; ///< those that came and were not fetched
    int m_world = 0;               ///< our own scripts' context; 0 before the first
    bool m_isEngineKept = false;
    bool m_hasCrashed = false;
    bool m_isFine = false;
    bool m_isLight = false;
};

} // namespace quillorn
