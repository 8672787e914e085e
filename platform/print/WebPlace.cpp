#include "platform/print/WebPlace.h"

#include "platform/print/JSONAccess.h"

#include <optional>
#include <utility>

namespace quillorn {

DevTools::JSON everyWebRequest() {
    return {{"patterns", DevTools::JSON::array({{{"urlPattern", "*"}}})}};
}

DevTools::JSON attachToAllTargets() {
    return {{"autoAttach", true}, {"waitForDebuggerOnStart", true}, {"flatten", true}};
}

WebPlace::WebPlace(DevTools& devTools, const Size& size) : m_devTools(&devTools), m_size(size) {
    send("Target.createBrowserContext", {{"disposeOnDetach", true}});
}

void WebPlace::send(const char* method, JSON parameters) {
    const std::optional<int> number = m_devTools->send(method, std::move(parameters), m_session);
    if (number) {
        m_awaited.insert(*number);
    } else {
        fail("the web engine ended");
    }
}

void WebPlace::fail(std::string reason) {
    m_step = Step::failed;
    m_reason = std::move(reason);
}

void WebPlace::deal(const JSON& message) {
    if (hasFailed()) {
        return;
    }
    const std::string method = json::text(message, "method");
    if (!method.empty()) {
        if (method == "Inspector.targetCrashed" && !m_session.empty() &&
            json::text(message, "sessionId") == m_session) {
            fail("the web engine crashed over an empty page");
        }
        return;
    }
    if (m_awaited.erase(static_cast<int>(json::number(message, "id"))) == 0) {
        return;
    }
    if (message.contains("error")) {
        fail("the web engine says: " + json::text(json::inner(message, "error"), "message"));
    } else {
        goOn(json::inner(message, "result"));
    }
}

void WebPlace::goOn(const JSON& result) {
    const JSON none = JSON::object();
    switch (m_step) {
    case Step::context:
        m_context = json::text(result, "browserContextId");
        m_step = Step::target;
        send("Browser.setDownloadBehavior",
             {{"behavior", "deny"}, {"browserContextId", m_context}});
        send("Target.createTarget", {{"url", "about:blank"},
                                     {"browserContextId", m_context},
                                     {"width", m_size.width},
                                     {"height", m_size.height}});
        break;
    case Step::target:
        if (m_awaited.empty()) { // the second answer, which names it
            m_target = json::text(result, "targetId");
            m_step = Step::session;
            send("Target.attachToTarget", {{"targetId", m_target}, {"flatten", true}});
        }
        break;
    case Step::session:
        m_session = json::text(result, "sessionId");
        m_step = Step::preparations;
        // All are waited for: the load event of a quick page would come before we listen.
        send("Page.enable", none);
        send("Page.setLifecycleEventsEnabled", {{"enabled", true}});
        send("Inspector.enable", none);
        send("Target.setAutoAttach", attachToAllTargets());
        send("Fetch.enable", everyWebRequest());
        send("Network.enable", none);
        break;
    case Step::preparations:
        if (m_awaited.empty()) {
            m_step = Step::ready;
        }
        break;
    case Step::ready:
    case Step::failed:
        break;
    }
}

void WebPlace::makeQuiet() {
    m_isQuiet = true;
    m_step = Step::preparations;
    send("Emulation.setScriptExecutionDisabled", {{"value", true}});
    send("Emulation.setEmulatedMedia", {{"media", "print"}});
    send("DOM.enable", JSON::object());
    send("CSS.enable", JSON::object());
    // Freezing hides it, too, and that stays: what moves in a page must not go on moving while
    // the place waits for the next one.
    send("Page.setWebLifecycleState", {{"state", "frozen"}});
    send("Page.setWebLifecycleState", {{"state", "active"}});
}

void WebPlace::clear() {
    ++m_uses;
    m_step = Step::preparations;
    send("Page.resetNavigationHistory", JSON::object());
}

void WebPlace::dispose() {
    m_devTools->send("Target.disposeBrowserContext", {{"browserContextId", m_context}});
}

} // namespace quillorn
