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

JSON everyRequest() {
    return {{"patterns", JSON::array({{{"urlPattern", "*"}}})}};
}

JSON attachToAll() {
    return {{"autoAttach", true}, {"waitForDebuggerOnStart", true}, {"flatten", true}};
}

} // namespace

WebSession::WebSession(WebEngine& engine, const WebContent& content, std::stop_token stop)
    : m_engine(engine), m_requests(content, engine.hasNetwork()), m_stop(std::move(stop)) {}

WebSession::~WebSession() {
    if (m_devTools == nullptr) {
        return;
    }
    if (m_isFine && !m_hasCrashed) {
        m_devTools->send("Target.disposeBrowserContext", {{"browserContextId", m_context}});
    } else {
        m_engine.end();
    }
}

WebResult<void> WebSession::makeContext(Clock::time_point deadline) {
    auto devTools = m_engine.connect(m_stop);
    if (!devTools) {
        const FileError& error = devTools.error();
        const bool cancelled = m_stop.stop_requested();
        return tl::unexpected(WebError{
            cancelled ? WebError::Kind::cancelled : WebError::Kind::noEngine,
            error.file.empty() ? error.reason
                               : "the web engine cannot be started: " + error.file.string() + ": " +
                                     error.reason});
    }
    m_devTools = *devTools;
    const auto context =
        request("Target.createBrowserContext", {{"disposeOnDetach", true}}, {}, deadline);
    if (!context) {
        m_devTools = nullptr;
        m_engine.end();
        return tl::unexpected(context.error());
    }
    m_context = text(*context, "browserContextId");
    return {};
}

WebResult<void> WebSession::open(int width, int height, Clock::time_point deadline) {
    auto made = makeContext(deadline);
    if (!made && made.error().kind == WebError::Kind::refused) {
        // An engine that was kept may have died meanwhile, which is not this page's fault.
        made = makeContext(deadline);
    }
    if (!made) {
        return made;
    }
    const auto denied =
        request("Browser.setDownloadBehavior",
                {{"behavior", "deny"}, {"browserContextId", m_context}}, {}, deadline);
    const auto target = denied ? request("Target.createTarget",
                                         {{"url", "about:blank"},
                                          {"browserContextId", m_context},
                                          {"width", width},
                                          {"height", height}},
                                         {}, deadline)
                               : denied;
    if (!target) {
        return tl::unexpected(target.error());
    }
    m_target = text(*target, "targetId");
    m_requests.setMainFrame(m_target); // the engine gives both the same name
    const auto attached =
        request("Target.attachToTarget", {{"targetId", m_target}, {"flatten", true}}, {}, deadline);
    if (!attached) {
        return tl::unexpected(attached.error());
    }
    m_session = text(*attached, "sessionId");
    m_sessions.insert(m_session);
    // Each is waited for: the load event of a quick page would come before we listen.
    const std::pair<const char*, JSON> preparations[] = {
        {"Page.enable", noParameters},      {"Page.setLifecycleEventsEnabled", {{"enabled", true}}},
        {"Inspector.enable", noParameters}, {"Target.setAutoAttach", attachToAll()},
        {"Fetch.enable", everyRequest()},   {"Network.enable", noParameters},
    };
    for (const auto& [method, parameters] : preparations) {
        if (auto done = call(method, parameters, deadline); !done) {
            return tl::unexpected(std::move(done.error()));
        }
    }
    return {};
}

WebResult<JSON> WebSession::call(const std::string& method, JSON parameters,
                                 Clock::time_point deadline) {
    return request(method, std::move(parameters), m_session, deadline);
}

void WebSession::tell(const std::string& method, JSON parameters) {
    m_devTools->send(method, std::move(parameters), m_session); // waiting tells if it is gone
}

WebResult<JSON> WebSession::evaluate(const std::string& script, Clock::time_point deadline) {
    if (m_world == 0) {
        auto world = call("Page.createIsolatedWorld", {{"frameId", m_target}}, deadline);
        if (!world) {
            return world;
        }
        m_world = static_cast<int>(json::number(*world, "executionContextId"));
    }
    auto answer = call("Runtime.evaluate",
                       {{"expression", script},
                        {"contextId", m_world},
                        {"awaitPromise", true},
                        {"returnByValue", true}},
                       deadline);
    if (!answer) {
        return answer;
    }
    if (answer->contains("exceptionDetails")) {
        return tl::unexpected(WebError{WebError::Kind::refused, "a script of ours failed"});
    }
    return inner(*answer, "result");
}

WebResult<JSON> WebSession::request(const std::string& method, JSON parameters,
                                    const std::string& session, Clock::time_point deadline) {
    const auto number = m_devTools->send(method, std::move(parameters), session);
    if (!number) {
        return tl::unexpected(errorOf(WebWait::engineGone));
    }
    while (true) {
        JSON message;
        const WebWait wait = m_devTools->receive(message, deadline, m_stop);
        if (wait != WebWait::done) {
            return tl::unexpected(errorOf(wait));
        }
        if (json::number(message, "id") != *number) {
            deal(message);
            if (m_hasCrashed) {
                return tl::unexpected(errorOf(WebWait::engineGone));
            }
        } else if (message.contains("error")) {
            return tl::unexpected(
                WebError{WebError::Kind::refused,
                         "the web engine says: " + text(inner(message, "error"), "message")});
        } else {
            return inner(message, "result");
        }
    }
}

WebWait WebSession::waitForEvent(Clock::time_point deadline) {
    JSON message;
    const WebWait wait = m_devTools->receive(message, deadline, m_stop);
    if (wait == WebWait::done) {
        deal(message);
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

void WebSession::deal(const JSON& message) {
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
        m_devTools->send("Fetch.enable", everyRequest(), child);
        m_devTools->send("Page.enable", noParameters, child);
        m_devTools->send("Network.enable", noParameters, child);
        m_devTools->send("Target.setAutoAttach", attachToAll(), child);
        m_devTools->send("Runtime.runIfWaitingForDebugger", noParameters, child);
    } else if (method == "Target.detachedFromTarget") {
        const std::string child = text(event, "sessionId");
        std::erase_if(m_foreignFrames,
                      [&](const ForeignFrame& frame) { return frame.session == child; });
    } else if (method == "Inspector.targetCrashed" && session == m_session) {
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
    if (text(event, "frameId") != m_target && text(frame, "id") != m_target) {
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
