#include "platform/print/WebSession.h"

#include "platform/print/JSONAccess.h"

#include <chrono>
#include <utility>

namespace quillorn {

namespace {

using JSON = DevTools::JSON;
using json::inner;
using json::text;

const JSON noParameters = JSON::object();

/// What a page leaves in its process adds up.
constexpr int mostUses = 100;

} // namespace

WebSession::WebSession(WebEngine& engine, const WebContent& content, std::stop_token stop)
    : m_engine(engine), m_requests(content, engine.hasNetwork()), m_stop(std::move(stop)) {}

WebSession::~WebSession() {
    if (m_devTools == nullptr) {
        return;
    }
    if (!m_isFine || m_hasCrashed) {
        m_engine.end();
    } else if (m_isLight && m_place->isQuiet() && m_place->uses() < mostUses) {
        m_place->clear();
        m_engine.keepQuiet(std::move(*m_place));
    } else {
        m_place->dispose();
    }
}

WebError WebSession::noEngine(const FileError& error) const {
    return {m_stop.stop_requested() ? WebError::Kind::cancelled : WebError::Kind::noEngine,
            error.file.empty()
                ? error.reason
                : "the web engine cannot be started: " + error.file.string() + ": " + error.reason};
}

WebResult<void> WebSession::waitForPlace(Clock::time_point deadline) {
    while (!m_place->isReady() && !m_place->hasFailed()) {
        JSON message;
        if (const WebWait wait = m_devTools->receive(message, deadline, m_stop);
            wait != WebWait::done) {
            return tl::unexpected(errorOf(wait));
        }
        m_place->deal(message);
        m_engine.dealWithSpare(message);
    }
    return m_place->isReady()
               ? WebResult<void>()
               : tl::unexpected(WebError{WebError::Kind::refused, m_place->reason()});
}

WebResult<void> WebSession::open(const WebPlace::Size& size, bool scripts,
                                 Clock::time_point deadline) {
    const pid_t before = m_engine.processGroup();
    auto devTools = m_engine.connect(m_stop);
    if (!devTools) {
        return tl::unexpected(noEngine(devTools.error()));
    }
    m_devTools = *devTools;
    m_isEngineKept = m_engine.processGroup() == before;
    m_place = scripts ? m_engine.takeSpare() : m_engine.takeQuiet();
    WebResult<void> made;
    if (m_place) {
        made = waitForPlace(deadline);
        if (made && m_place->size() != size) {
            m_place->dispose();
            m_place.reset();
        }
    }
    if (!m_place) {
        m_place.emplace(*m_devTools, size);
        made = waitForPlace(deadline);
    }
    if (made && !scripts && !m_place->isQuiet()) {
        m_place->makeQuiet();
        made = waitForPlace(deadline);
    }
    if (made) {
        m_sessions.insert(m_place->session());
        m_requests.setMainFrame(m_place->target()); // the engine gives both the same name
    }
    return made;
}

std::optional<int> WebSession::send(const std::string& method, JSON parameters,
                                    const std::string& session) {
    const auto number = m_devTools->send(method, std::move(parameters), session);
    if (number) {
        m_asked.insert(*number);
    }
    return number;
}

std::optional<int> WebSession::ask(const std::string& method, JSON parameters) {
    return send(method, std::move(parameters), m_place->session());
}

WebResult<JSON> WebSession::answerTo(std::optional<int> question, Clock::time_point deadline) {
    if (!question) {
        return tl::unexpected(errorOf(WebWait::engineGone));
    }
    while (!m_answers.contains(*question)) {
        if (const WebWait wait = waitForEvent(deadline); wait != WebWait::done) {
            return tl::unexpected(errorOf(wait));
        }
    }
    const JSON answer = std::move(m_answers.extract(*question).mapped());
    if (answer.contains("error")) {
        return tl::unexpected(
            WebError{WebError::Kind::refused,
                     "the web engine says: " + text(inner(answer, "error"), "message")});
    }
    return inner(answer, "result");
}

WebResult<JSON> WebSession::call(const std::string& method, JSON parameters,
                                 Clock::time_point deadline) {
    return answerTo(ask(method, std::move(parameters)), deadline);
}

void WebSession::tell(const std::string& method, JSON parameters) {
    // Waiting tells if it is gone.
    m_devTools->send(method, std::move(parameters), m_place->session());
}

WebResult<int> WebSession::askToEvaluate(const std::string& script, Clock::time_point deadline) {
    if (m_world == 0) {
        const auto world =
            call("Page.createIsolatedWorld", {{"frameId", m_place->target()}}, deadline);
        if (!world) {
            return tl::unexpected(world.error());
        }
        m_world = static_cast<int>(json::number(*world, "executionContextId"));
    }
    const auto question = ask("Runtime.evaluate", {{"expression", script},
                                                   {"contextId", m_world},
                                                   {"awaitPromise", true},
                                                   {"returnByValue", true}});
    return question ? WebResult<int>(*question) : tl::unexpected(errorOf(WebWait::engineGone));
}

WebResult<JSON> WebSession::valueOf(const WebResult<int>& question, Clock::time_point deadline) {
    if (!question) {
        return tl::unexpected(question.error());
    }
    auto answer = answerTo(*question, deadline);
    if (!answer) {
        return answer;
    }
    if (answer->contains("exceptionDetails")) {
        return tl::unexpected(WebError{WebError::Kind::refused, "a script of ours failed"});
    }
    return inner(*answer, "result");
}

WebResult<JSON> WebSession::evaluate(const std::string& script, Clock::time_point deadline) {
    return valueOf(askToEvaluate(script, deadline), deadline);
}

WebWait WebSession::waitForEvent(Clock::time_point deadline) {
    JSON message;
    const WebWait wait = m_devTools->receive(message, deadline, m_stop);
    if (wait == WebWait::done) {
        deal(std::move(message));
    }
    return wait == WebWait::done && m_hasCrashed ? WebWait::engineGone : wait;
}

WebError WebSession::errorOf(WebWait wait) const {
    using Kind = WebError::Kind;
    if (m_hasCrashed) {
        return {Kind::refused, "the web engine crashed over it, or it needs too much memory"};
    }
    switch (wait) {
    case WebWait::cancelled:
        return {Kind::cancelled, "it was cancelled"};
    case WebWait::engineGone:
        return {Kind::refused, "the web engine ended while it worked on it"};
    case WebWait::timeOver:
    case WebWait::done:
        break;
    }
    return {Kind::refused, "it takes the web engine too long"};
}

void WebSession::deal(JSON message) {
    m_engine.dealWithSpare(message);
    if (const int number = static_cast<int>(json::number(message, "id"));
        m_asked.erase(number) > 0) {
        m_answers.emplace(number, std::move(message));
        return;
    }
    const std::string method = text(message, "method");
    const std::string session = text(message, "sessionId");
    const JSON event = inner(message, "params");
    if (method.empty() || !m_sessions.contains(session)) {
        return; // an answer nobody waits for, or a page of before
    }
    if (method == "Fetch.requestPaused") {
        m_requests.answer(*m_devTools, event, session);
    } else if (method == "Page.javascriptDialogOpening") {
        // Whoever wants to leave may; nothing else is agreed to.
        m_devTools->send("Page.handleJavaScriptDialog",
                         {{"accept", text(event, "type") == "beforeunload"}}, session);
    } else if (method == "Target.attachedToTarget") {
        // A frame in a process of its own, or a worker: it waits until we listen to it as well.
        const std::string child = text(event, "sessionId");
        m_sessions.insert(child);
        const JSON target = inner(event, "targetInfo");
        if (text(target, "type") == "iframe") {
            m_foreignFrames.push_back({child, text(target, "targetId")});
        }
        m_devTools->send("Fetch.enable", everyWebRequest(), child);
        m_devTools->send("Page.enable", noParameters, child);
        m_devTools->send("Network.enable", noParameters, child);
        m_devTools->send("Target.setAutoAttach", attachToAllTargets(), child);
        m_devTools->send("Runtime.runIfWaitingForDebugger", noParameters, child);
    } else if (method == "Target.detachedFromTarget") {
        const std::string child = text(event, "sessionId");
        std::erase_if(m_foreignFrames,
                      [&](const ForeignFrame& frame) { return frame.session == child; });
    } else if (method == "Inspector.targetCrashed" && session == m_place->session()) {
        m_hasCrashed = true;
    } else if (method == "CSS.styleSheetAdded") {
        m_styleSheets.insert(text(inner(event, "header"), "styleSheetId"));
    } else if (method.starts_with("Network.")) {
        m_requests.note(method, event);
    } else if (method.starts_with("Page.")) {
        dealWithFrame(method, event);
    }
}

void WebSession::dealWithFrame(const std::string& method, const JSON& event) {
    const JSON frame = inner(event, "frame");
    if (method == "Page.lifecycleEvent" && text(event, "name") == "load") {
        m_expected.erase(text(event, "frameId"));
    }
    const std::string& mainFrame = m_place->target();
    if (text(event, "frameId") != mainFrame && text(frame, "id") != mainFrame) {
        return;
    }
    WebLeads& leads = m_requests.leads();
    const auto now = Clock::now();
    if (method == "Page.frameScheduledNavigation") {
        leads.announce(std::chrono::duration<double>(json::number(event, "delay")), now);
    } else if (method == "Page.frameClearedScheduledNavigation") {
        leads.withdraw();
    } else if (method == "Page.frameRequestedNavigation") {
        if (text(event, "disposition") == "currentTab") {
            leads.begin(now);
        }
    } else if (method == "Page.frameNavigated") {
        m_loader = text(frame, "loaderId");
        leads.arrive();
    } else if (method == "Page.lifecycleEvent" && text(event, "name") == "load") {
        m_loaded.insert(text(event, "loaderId"));
    }
    if (m_loaded.contains(m_loader)) {
        leads.setLoaded();
    }
}

} // namespace quillorn
