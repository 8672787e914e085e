#include "platform/print/ForeignFrames.h"

#include "platform/print/JSONAccess.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

using JSON = WebSession::JSON;
using Clock = WebSession::Clock;

constexpr int deepestFrame = 4;
constexpr std::size_t mostFrames = 50;
constexpr std::size_t longestText = std::size_t{16} << 20U; // bytes

std::string asAttribute(const std::string& text) {
    std::string escaped;
    for (const char ch : text) {
        if (ch == '&') {
            escaped += "&amp;";
        } else if (ch == '"') {
            escaped += "&quot;";
        } else {
            escaped += ch;
        }
    }
    return escaped;
}

/// What a frame shows, with the address that its own addresses are relative to.
WebResult<std::string> textOf(WebSession& session, const std::string& frameSession,
                              Clock::time_point deadline) {
    const auto document =
        session.callFrame(frameSession, "DOM.getDocument", {{"depth", 0}}, deadline);
    if (!document) {
        return tl::unexpected(document.error());
    }
    const JSON root = json::inner(*document, "root");
    const auto html = session.callFrame(frameSession, "DOM.getOuterHTML",
                                        {{"nodeId", json::number(root, "nodeId")}}, deadline);
    if (!html) {
        return tl::unexpected(html.error());
    }
    return "<base href=\"" + asAttribute(json::text(root, "baseURL")) + "\">" +
           json::text(*html, "outerHTML");
}

/// The element of the page that holds a frame: a number for the engine.
WebResult<JSON> ownerOf(WebSession& session, const std::string& frame, Clock::time_point deadline) {
    auto owner = session.call("DOM.getFrameOwner", {{"frameId", frame}}, deadline);
    if (!owner) {
        return owner;
    }
    const JSON number = json::number(*owner, "backendNodeId");
    auto nodes = session.call("DOM.pushNodesByBackendIdsToFrontend",
                              {{"backendNodeIds", JSON::array({number})}}, deadline);
    if (!nodes) {
        return nodes;
    }
    const JSON list = nodes->value("nodeIds", JSON::array());
    return list.is_array() && !list.empty() ? JSON(list.at(0)) : JSON(0);
}

WebResult<void> takeIn(WebSession& session, const WebSession::ForeignFrame& frame,
                       Clock::time_point deadline) {
    auto text = textOf(session, frame.session, deadline);
    if (!text) {
        return tl::unexpected(text.error());
    }
    if (text->size() > longestText) {
        return {};
    }
    const auto owner = ownerOf(session, frame.frame, deadline);
    if (!owner) {
        return tl::unexpected(owner.error());
    }
    session.expectLoadOf(frame.frame);
    const std::pair<const char*, std::string> attributes[] = {{"sandbox", ""},
                                                              {"srcdoc", std::move(*text)}};
    for (const auto& [name, value] : attributes) {
        const auto set =
            session.call("DOM.setAttributeValue",
                         {{"nodeId", *owner}, {"name", name}, {"value", value}}, deadline);
        if (!set) {
            return tl::unexpected(set.error());
        }
    }
    return {};
}

} // namespace

WebResult<void> takeInForeignFrames(WebSession& session, Clock::time_point deadline) {
    std::size_t taken = 0;
    for (int level = 0; level < deepestFrame; ++level) {
        const std::vector<WebSession::ForeignFrame> frames = session.takeForeignFrames();
        if (frames.empty() || Clock::now() >= deadline) {
            break;
        }
        // The engine knows elements only of a document that was asked for.
        static_cast<void>(session.call("DOM.getDocument", {{"depth", 0}}, deadline));
        for (const WebSession::ForeignFrame& frame : frames) {
            if (++taken > mostFrames) {
                break;
            }
            auto done = takeIn(session, frame, deadline);
            if (!done && (session.hasCrashed() || done.error().kind != WebError::Kind::refused)) {
                return done;
            }
        }
        while (session.expectsLoads()) {
            const WebWait wait = session.waitForEvent(deadline);
            if (wait == WebWait::timeOver) {
                return {};
            }
            if (wait != WebWait::done) {
                return tl::unexpected(session.errorOf(wait));
            }
        }
    }
    return {};
}

} // namespace quillorn
