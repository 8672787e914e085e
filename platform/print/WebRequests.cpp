#include "platform/print/WebRequests.h"

#include "platform/print/Base64.h"
#include "platform/print/JSONAccess.h"
#include "platform/print/WebURL.h"

#include <utility>

namespace quillorn {

namespace {

using JSON = DevTools::JSON;
using json::text;

JSON header(const char* name, std::string value) {
    return {{"name", name}, {"value", std::move(value)}};
}

JSON answerWith(const std::string& request, WebResource resource, bool staysPut) {
    // Scripts and fonts of an archive may come from several places, all of which we are.
    JSON headers = JSON::array({header("Access-Control-Allow-Origin", "*")});
    if (staysPut) {
        // No refresh leads such a page away, not even to where nobody is asked.
        headers.push_back(header("Content-Security-Policy", "sandbox allow-same-origin"));
    }
    if (!resource.mimeType.empty()) {
        headers.push_back(header("Content-Type", std::move(resource.mimeType)));
    }
    return {{"requestId", request},
            {"responseCode", 200},
            {"responseHeaders", std::move(headers)},
            {"body", toBase64(resource.data)}};
}

} // namespace

bool WebRequests::answer(DevTools& devTools, const JSON& event, const std::string& session) {
    const std::string request = text(event, "requestId");
    const std::string url = text(json::inner(event, "request"), "url");
    const bool isPage =
        text(event, "resourceType") == "Document" && text(event, "frameId") == m_mainFrame;
    auto resource = m_content.find(url);
    if (isPage && !m_leads.ask(url, resource.has_value(), DevTools::Clock::now())) {
        // "No content" leaves the present page as it is.
        return devTools
            .send("Fetch.fulfillRequest", {{"requestId", request}, {"responseCode", 204}}, session)
            .has_value();
    }
    if (isPage) {
        m_pageRequest = text(event, "networkId");
    }
    if (resource) {
        m_bytes += resource->data.size();
        return devTools
            .send("Fetch.fulfillRequest",
                  answerWith(request, std::move(*resource), isPage && m_leads.isOver()), session)
            .has_value();
    }
    if (m_network && isRemoteURL(url) && !m_silent.contains(hostOfURL(url))) {
        m_waitedFor.insert_or_assign(text(event, "networkId"), hostOfURL(url));
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
    if (method == "Network.loadingFailed" && text(event, "requestId") == m_pageRequest) {
        m_leads.fail(); // a file to be downloaded, for instance
    }
    const auto waiting = m_waitedFor.find(text(event, "requestId"));
    if (waiting == m_waitedFor.end()) {
        return;
    }
    m_lastNews = DevTools::Clock::now();
    if (method == "Network.responseReceived" || method == "Network.dataReceived") {
        m_answering.insert(waiting->second);
    } else if (method == "Network.loadingFinished" || method == "Network.loadingFailed") {
        m_waitedFor.erase(waiting);
    }
}

void WebRequests::giveUpSilentOnes(bool all) {
    for (const auto& [request, host] : m_waitedFor) {
        if (!m_answering.contains(host)) {
            m_silent.insert(host);
        }
    }
    m_network = m_network && !all;
}

void WebRequests::start(std::string url) {
    m_waitedFor.clear();
    m_pageRequest.clear();
    m_leads.start(std::move(url));
}

std::optional<DevTools::Clock::time_point> WebRequests::silentSince() const {
    return m_waitedFor.empty() ? std::nullopt : std::optional(m_lastNews);
}

} // namespace quillorn
