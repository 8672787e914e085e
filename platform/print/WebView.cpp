#include "platform/print/WebView.h"

#include "platform/files/ReplacementFile.h"
#include "platform/print/Base64.h"
#include "platform/print/JSONAccess.h"
#include "platform/print/PageRules.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

using JSON = DevTools::JSON;

constexpr double pixelsPerPoint = 96.0 / 72.0;
constexpr double pointsPerInch = 72.0;

/// What a page may still need once it has loaded.
constexpr std::chrono::seconds shortWhile{1};

constexpr std::size_t pdfBlock = 4U << 20U; // bytes
constexpr std::size_t mostStyleSheets = 2'000;

std::string quoted(const std::string& text) {
    return JSON(text).dump(-1, ' ', true, JSON::error_handler_t::replace);
}

WebError notWritten(const FileError& error) {
    return {WebError::Kind::notWritten,
            "its PDF cannot be written: " + error.file.string() + ": " + error.reason};
}

} // namespace

WebResult<void> WebView::load(std::unique_ptr<WebContent> content, const PrintInfo& info,
                              const std::stop_token& stop) {
    m_session.reset();
    m_content = std::move(content);
    m_isCutShort = false;
    m_session.emplace(m_engine, *m_content, stop);
    // The engine's own start takes none of the page's time.
    auto opened = m_session->open(static_cast<int>(info.printableWidth() * pixelsPerPoint),
                                  static_cast<int>(info.printableHeight() * pixelsPerPoint),
                                  Clock::now() + m_limits.time);
    if (!opened) {
        m_session.reset();
        return opened;
    }
    m_start = Clock::now();
    auto loaded = navigate();
    if (loaded) {
        loaded = waitForLoad();
    }
    if (!loaded) {
        m_session.reset();
    }
    return loaded;
}

WebResult<void> WebView::navigate() {
    m_session->requests().restart();
    const auto navigated = m_session->call("Page.navigate", {{"url", m_content->startURL()}},
                                           m_start + m_limits.time / 2);
    if (!navigated) {
        return tl::unexpected(navigated.error());
    }
    if (navigated->contains("errorText")) {
        return tl::unexpected(
            WebError{WebError::Kind::refused, "it cannot be loaded as a web page"});
    }
    m_session->setLoader(json::text(*navigated, "loaderId"));
    return {};
}

WebResult<void> WebView::waitForLoad() {
    const auto half = m_start + m_limits.time / 2;
    WebRequests& requests = m_session->requests();
    // Of the patience with others, most is for the first time that they keep silent.
    auto patience = m_limits.silence * 2 / 3;
    bool isFirstSilence = true;
    while (!m_session->hasLoaded()) {
        const auto silent = requests.silentSince();
        const auto until = silent ? std::min(half, *silent + patience) : half;
        const WebWait wait = m_session->waitForEvent(until);
        if (wait != WebWait::done && wait != WebWait::timeOver) {
            return tl::unexpected(m_session->errorOf(wait));
        }
        const bool leadsAstray = requests.takeLeadAstray();
        if (wait == WebWait::done && !leadsAstray) {
            continue;
        }
        if (Clock::now() >= half) {
            cutShort();
            return {};
        }
        if (leadsAstray) {
            // The engine reads no further in a page that wants to be left. Without scripts it is
            // what it says by itself.
            m_session->tell("Emulation.setScriptExecutionDisabled", {{"value", true}});
        } else {
            requests.giveUpSilentOnes(!std::exchange(isFirstSilence, false));
            patience = m_limits.silence - patience;
        }
        if (auto again = navigate(); !again) {
            return again;
        }
    }
    requests.setFollowing(false);
    return {};
}

void WebView::cutShort() {
    m_isCutShort = true;
    m_session->requests().setFollowing(false);
    // These reach a page in an endless loop, too. One that does not answer fails at printing.
    m_session->tell("Emulation.setScriptExecutionDisabled", {{"value", true}});
    m_session->tell("Runtime.terminateExecution", JSON::object());
    m_session->tell("Page.stopLoading", JSON::object());
}

WebResult<void> WebView::print(const PrintInfo& info) {
    if (!m_session) {
        return tl::unexpected(WebError{WebError::Kind::refused, "nothing is loaded"});
    }
    const auto deadline = m_start + m_limits.time;
    ExactPaper paper(info);
    const PrintInfo& asked = paper.request();
    WebResult<void> result = prepareForPaper(asked);
    if (result) {
        const auto printed = m_session->call("Page.printToPDF",
                                             {{"printBackground", true},
                                              {"displayHeaderFooter", false},
                                              {"preferCSSPageSize", false},
                                              {"generateTaggedPDF", true},
                                              {"paperWidth", asked.paper.width / pointsPerInch},
                                              {"paperHeight", asked.paper.height / pointsPerInch},
                                              {"marginTop", asked.topMargin / pointsPerInch},
                                              {"marginBottom", asked.bottomMargin / pointsPerInch},
                                              {"marginLeft", asked.leftMargin / pointsPerInch},
                                              {"marginRight", asked.rightMargin / pointsPerInch},
                                              {"transferMode", "ReturnAsStream"}},
                                             deadline);
        result = printed ? save(json::text(*printed, "stream"), paper, info)
                         : tl::unexpected(printed.error());
    }
    if (result && !m_isCutShort) {
        m_session->setFine();
    }
    m_session.reset();
    return result;
}

WebResult<void> WebView::prepareForPaper(const PrintInfo& info) {
    const auto deadline = m_start + m_limits.time;
    const auto soon = [deadline]() { return std::min(deadline, Clock::now() + shortWhile); };
    m_session->tell("Emulation.setEmulatedMedia", {{"media", "print"}});
    if (!m_isCutShort) {
        // Fonts and pictures that only paper needs are asked for now. Whatever does not come
        // soon is printed without.
        const auto ready = m_session->evaluate("window.dispatchEvent(new Event('beforeprint'));"
                                               "document.body && document.body.offsetHeight;"
                                               "document.fonts.ready.then(() => true)",
                                               soon());
        if (!ready && m_session->hasCrashed()) {
            return tl::unexpected(ready.error());
        }
        m_session->tell("Emulation.setScriptExecutionDisabled", {{"value", true}});
        m_session->tell("Runtime.terminateExecution", JSON::object());
    }
    const auto metrics = m_session->call("Page.getLayoutMetrics", JSON::object(), deadline);
    if (!metrics) {
        return tl::unexpected(metrics.error());
    }
    const double height = json::number(json::inner(*metrics, "cssContentSize"), "height");
    if (height > m_limits.sheets * info.printableHeight() * pixelsPerPoint) {
        return tl::unexpected(WebError{
            WebError::Kind::refused,
            "it would be longer than " + std::to_string(std::lround(m_limits.sheets)) + " pages"});
    }
    return setPageRules(info);
}

WebResult<void> WebView::setPageRules(const PrintInfo& info) {
    const auto deadline = m_start + m_limits.time;
    for (const char* const domain : {"DOM.enable", "CSS.enable"}) {
        if (auto enabled = m_session->call(domain, JSON::object(), deadline); !enabled) {
            return tl::unexpected(std::move(enabled.error()));
        }
    }
    // The set grows when a changed sheet is announced once more.
    const std::set<std::string> sheets = m_session->styleSheets();
    if (sheets.size() > mostStyleSheets) {
        return tl::unexpected(
            WebError{WebError::Kind::refused, "it has an absurd number of style sheets"});
    }
    for (const std::string& sheet : sheets) {
        const JSON which = {{"styleSheetId", sheet}};
        const auto text = m_session->call("CSS.getStyleSheetText", which, deadline);
        auto changed = withoutPageRules(text ? json::text(*text, "text") : std::string());
        if (changed) {
            const auto set =
                m_session->call("CSS.setStyleSheetText",
                                {{"styleSheetId", sheet}, {"text", std::move(*changed)}}, deadline);
            if (!set) {
                return tl::unexpected(set.error());
            }
        } else if (!text && m_session->hasCrashed()) {
            return tl::unexpected(text.error());
        }
    }
    // Style sheets made by a script are subject to no policy of the page's.
    const auto set = m_session->evaluate(
        "{ const rules = new CSSStyleSheet(); rules.replaceSync(" + quoted(pageRules(info)) +
            "); document.adoptedStyleSheets = [...document.adoptedStyleSheets, rules]; true }",
        deadline);
    return set ? WebResult<void>() : tl::unexpected(set.error());
}

WebResult<void> WebView::save(const std::string& stream, ExactPaper& paper, const PrintInfo& info) {
    const auto deadline = m_start + m_limits.time;
    auto file = ReplacementFile::create(info.savePath);
    if (!file) {
        return tl::unexpected(notWritten(file.error()));
    }
    for (bool isWhole = false; !isWhole;) {
        const auto block =
            m_session->call("IO.read", {{"handle", stream}, {"size", pdfBlock}}, deadline);
        if (!block) {
            return tl::unexpected(block.error());
        }
        const std::string text = json::text(*block, "data");
        const auto bytes = json::flag(*block, "base64Encoded", false) ? fromBase64(text) : text;
        if (!bytes) {
            return tl::unexpected(m_session->errorOf(WebWait::engineGone));
        }
        isWhole = json::flag(*block, "eof", true);
        if (auto written = file->write(paper.corrected(*bytes, isWhole)); !written) {
            return tl::unexpected(notWritten(written.error()));
        }
    }
    if (file->bytesWritten() == 0) {
        return tl::unexpected(WebError{WebError::Kind::refused, "the web engine printed nothing"});
    }
    if (auto committed = file->commit(); !committed) {
        return tl::unexpected(notWritten(committed.error()));
    }
    return {};
}

} // namespace quillorn
