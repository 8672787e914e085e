#include "platform/print/WebView.h"

#include "platform/files/ReplacementFile.h"
#include "platform/print/Base64.h"
#include "platform/print/ForeignFrames.h"
#include "platform/print/JSONAccess.h"
#include "platform/print/PageRules.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

using JSON = DevTools::JSON;

constexpr double pixelsPerPoint = 96.0 / 72.0;
constexpr double pointsPerInch = 72.0;

/// What a page may still need once it has loaded.
constexpr std::chrono::seconds shortWhile{1};

/// How soon an engine or an empty page that was dying shows it.
constexpr std::chrono::seconds early{2};

constexpr std::size_t pdfBlock = 4U << 20U; // bytes
constexpr std::size_t mostStyleSheets = 2'000;
constexpr std::size_t mostFrames = 500;

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
    const auto begin = Clock::now();
    auto loaded = loadOnce(info, stop);
    if (!loaded && loaded.error().kind == WebError::Kind::refused && m_session->isEngineKept() &&
        !m_session->requests().leads().isShown() && Clock::now() < begin + early) {
        // An engine or an empty page that was kept may have been dying, which is not this page's
        // fault.
        m_session.reset();
        loaded = loadOnce(info, stop);
    }
    if (!loaded) {
        m_session.reset();
    }
    return loaded;
}

WebResult<void> WebView::loadOnce(const PrintInfo& info, const std::stop_token& stop) {
    m_isCutShort = m_isScriptless = false;
    m_session.emplace(m_engine, *m_content, stop);
    // The engine's own start takes none of the page's time.
    auto loaded = m_session->open({static_cast<int>(info.printableWidth() * pixelsPerPoint),
                                   static_cast<int>(info.printableHeight() * pixelsPerPoint)},
                                  Clock::now() + m_limits.time);
    m_start = Clock::now();
    if (loaded && m_session->isEngineKept()) {
        m_session->prepareNext(); // where pages follow each other, there will be more of them
    }
    if (loaded) {
        loaded = navigate(m_content->startURL());
    }
    if (loaded) {
        loaded = waitForLoad();
    }
    return loaded;
}

WebResult<void> WebView::navigate(const std::string& url) {
    m_session->requests().start(url);
    const auto navigated = m_session->call("Page.navigate", {{"url", url}}, half());
    if (!navigated) {
        return tl::unexpected(navigated.error());
    }
    if (navigated->contains("errorText")) {
        return tl::unexpected(
            WebError{WebError::Kind::refused, "it cannot be loaded as a web page"});
    }
    m_loader = json::text(*navigated, "loaderId");
    return {};
}

WebResult<void> WebView::navigateAgain(const std::string& url) {
    // From a page to its own address with a fragment is no way that the engine would go.
    if (auto left = navigate("about:blank"); !left) {
        return left;
    }
    while (m_session->loader() != m_loader) {
        if (const WebWait wait = m_session->waitForEvent(half()); wait != WebWait::done) {
            return tl::unexpected(m_session->errorOf(wait));
        }
    }
    return navigate(url);
}

WebResult<void> WebView::waitForLoad() {
    WebRequests& requests = m_session->requests();
    WebLeads& leads = requests.leads();
    // Of the patience with others, most is for the first time that they keep silent.
    auto patience = m_limits.silence * 2 / 3;
    bool isFirstSilence = true;
    // However much they have to say, the page needs time without them, too.
    const auto third = m_start + m_limits.time / 3;
    const auto othersUntil = [&]() {
        const auto silent = requests.silentSince();
        return silent ? std::min(*silent + patience, third) : Clock::time_point::max();
    };
    std::string heard; // the loader of the page that has told everything about its load
    while (true) {
        leads.expire(Clock::now());
        WebResult<void> again;
        if (Clock::now() >= half()) {
            return cutShort();
        }
        if (const auto page = leads.takeReload()) {
            endScripts();
            m_isScriptless = true;
            again = navigateAgain(*page);
        } else if (leads.isLoaded() && !leads.openUntil()) {
            if (heard == m_session->loader()) {
                return {};
            }
            heard = m_session->loader();
            again = hearOut();
        } else {
            const auto until =
                std::min({half(), leads.openUntil().value_or(half()), othersUntil()});
            const WebWait wait = m_session->waitForEvent(until);
            if (wait != WebWait::done && wait != WebWait::timeOver) {
                return tl::unexpected(m_session->errorOf(wait));
            }
            if (Clock::now() >= othersUntil()) {
                requests.giveUpSilentOnes(!std::exchange(isFirstSilence, false) ||
                                          Clock::now() >= third);
                patience = m_limits.silence - patience;
                again = navigateAgain(std::string(leads.page())); // it changes on the way
            }
        }
        if (!again) {
            return again;
        }
    }
}

WebResult<void> WebView::hearOut() {
    const auto heard = m_session->call("Runtime.evaluate", {{"expression", "0"}},
                                       std::min(half(), Clock::now() + shortWhile));
    const bool isOver =
        !heard && (m_session->hasCrashed() || heard.error().kind == WebError::Kind::cancelled);
    return isOver ? WebResult<void>(tl::unexpected(heard.error())) : WebResult<void>();
}

void WebView::endScripts() {
    // These reach a page in an endless loop, too.
    m_session->tell("Emulation.setScriptExecutionDisabled", {{"value", true}});
    m_session->tell("Runtime.terminateExecution", JSON::object());
}

WebResult<void> WebView::cutShort() {
    m_isCutShort = true;
    endScripts(); // a page that does not answer to that fails at printing
    return m_session->requests().leads().isShown()
               ? WebResult<void>()
               : tl::unexpected(m_session->errorOf(WebWait::timeOver));
}

WebResult<void> WebView::print(const PrintInfo& info) {
    if (!m_session) {
        return tl::unexpected(WebError{WebError::Kind::refused, "nothing is loaded"});
    }
    const auto deadline = m_start + m_limits.time;
    m_session->prepareNext();
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
    m_session->requests().leads().finish();
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
        endScripts();
    }
    if (auto taken = takeInForeignFrames(*m_session, soon()); !taken) {
        return taken;
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

WebResult<void> WebView::hideScriptless() {
    if (m_isScriptless) {
        return {};
    }
    const auto deadline = m_start + m_limits.time;
    const auto tree = m_session->call("Page.getFrameTree", JSON::object(), deadline);
    if (!tree) {
        return tl::unexpected(tree.error());
    }
    std::vector<JSON> trees = {json::inner(*tree, "frameTree")};
    for (std::size_t i = 0; i < trees.size() && i < mostFrames; ++i) {
        const JSON frame = json::inner(trees[i], "frame");
        const auto sheet = m_session->call("CSS.createStyleSheet",
                                           {{"frameId", json::text(frame, "id")}}, deadline);
        if (sheet) { // not in a process of its own
            m_session->tell("CSS.setStyleSheetText",
                            {{"styleSheetId", json::text(*sheet, "styleSheetId")},
                             {"text", "noscript{display:none!important}"}});
        } else if (m_session->hasCrashed()) {
            return tl::unexpected(sheet.error());
        }
        const JSON children = trees[i].value("childFrames", JSON::array());
        for (std::size_t k = 0; children.is_array() && k < children.size(); ++k) {
            trees.push_back(children.at(k));
        }
    }
    return {};
}

WebResult<void> WebView::setPageRules(const PrintInfo& info) {
    const auto deadline = m_start + m_limits.time;
    for (const char* const domain : {"DOM.enable", "CSS.enable"}) {
        if (auto enabled = m_session->call(domain, JSON::object(), deadline); !enabled) {
            return tl::unexpected(std::move(enabled.error()));
        }
    }
    if (auto hidden = hideScriptless(); !hidden) {
        return hidden;
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
