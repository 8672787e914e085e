#include "platform/print/WebRequests.h"

#include "platform/print/Base64.h"
#include "platform/print/WebURL.h"

#include <utility>

namespace quillorn {

namespace {

using JSON = DevTools::JSON;

/// A text in an object of the engine's; empty when it is missing.
std::string text(const JSON& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

JSON header(const char* name, std::string value) {
    return {{"name", name}, {"value", std::move(value)}};
}

JSON answerWith(const std::string& request, WebResource resource) {
    // Scripts and fonts of an archive may come from several places, all of which we are.
    JSON headers = JSON::array({header("Access-Control-Allow-Origin", "*")});
    if (!resource.mimeType.empty()) {
        headers.push_back(header("Content-Type", std::move(resource.mimeType)));
    }
    return {{"requestId", request},
            {"responseCode", 200},
            {"responseHeaders", std::move(headers)},
            {"body", toBase64(resource.data)}};
}

} // namespace

bool WebRequests::isAllowed(const JSON& event, const std::string& url) {
    if (text(event, "resourceType") != "Document" || text(event, "frameId") != m_mainFrame) {
        return true;
    }
    return !std::exchange(m_startWasServed, true) && urlKey(url) == urlKey(m_content.startURL());
}

bool WebRequests::answer(DevTools& devTools, const JSON& event, const std::string& session) {
    const std::string request = text(event, "requestId");
    const std::string url = text(event.value("request", JSON::object()), "url");
    if (!isAllowed(event, url)) {
        // "Aborted" leaves the present page as it is; any other reason shows a page about it.
        return devTools
            .send("Fetch.failRequest", {{"requestId", request}, {"errorReason", "Aborted"}},
                  session)
            .has_value();
    }
    if (auto resource = m_content.find(url)) {
        return devTools
            .send("Fetch.fulfillRequest", answerWith(request, std::move(*resource)), session)
            .has_value();
    }
    if (m_network && isRemoteURL(url)) {
        m_waitedFor.insert(text(event, "networkId"));
        m_lastNews = DevTools::Clock::now();
        return devTools.send("Fetch.continueRequest", {{"requestId", request}}, session)
            .has_value();
    }
    return devTools
        .send("Fetch.failRequest", {{"requestId", request}, {"errorReason", "BlockedByClient"}},
              session)
        .has_value();
}

void WebRequests::note(const std::string& method, const JSON& event) {
    const std::string request = text(event, "requestId");
    if (!m_waitedFor.contains(request)) {
        return;
    }
    m_lastNews = DevTools::Clock::now();
    if (method == "Network.loadingFinished" || method == "Network.loadingFailed") {
        m_waitedFor.erase(request);
    }
}

std::optional<DevTools::Clock::time_point> WebRequests::silentSince() const {
    return m_waitedFor.empty() ? std::nullopt : std::optional(m_lastNews);
}

} // namespace quillorn
