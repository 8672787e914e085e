#include "platform/print/WebView.h"

#include "platform/print/Base64.h"
#include "platform/print/ForeignFrames.h"
#include "platform/print/JSONAccess.h"
#include "platform/print/PageRules.h"
#include "platform/print/ScriptSigns.h"
#include "platform/print/WebURL.h"

#include <algorithm>
#include <array>
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

/// A page that takes less leaves little behind in the engine's process that shows it.
constexpr std::size_t lightBytes = 4U << 20U;
constexpr std::chrono::seconds lightTime{1};

constexpr std::size_t pdfBlock = 4U << 20U; // bytes
constexpr std::size_t mostStyleSheets = 2'000;
constexpr std::size_t mostFrames = 500;

std::string quoted(const std::string& text) {
    return JSON(text).dump(-1, ' ', true, JSON::error_handler_t::replace);
}

/// Whether this is a file's page. Going from one to another, the engine never takes the second
/// for the first one's next part, as it would with a fragment, nor does it start a new process.
bool isFilePage(const WebContent& content) {
    return schemeOfURL(content.startURL()) == "file" &&
           content.startURL().find('#') == std::string::npos;
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
    const auto page = m_content->find(m_content->startURL());
    m_isQuiet = page && !mayHoldScripts(*page) && isFilePage(*m_content);
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
    m_isCutShort = false;
    m_isScriptless = m_isQuiet;
    m_session.emplace(m_engine, *m_content, stop);
    // The engine's own start takes none of the page's time.
    auto loaded = m_session->open({static_cast<int>(info.printableWidth() * pixelsPerPoint),
                                   static_cast<int>(info.printableHeight() * pixelsPerPoint)},
                                  !m_isQuiet, Clock::now() + m_limits.time);
    m_start = Clock::now();
    if (loaded && m_session->isEngineKept() && !m_isQuiet) {
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
            again = m_isQuiet ? WebResult<void>() : hearOut();
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
    if (!m_isQuiet) {
        m_session->prepareNext();
    }
    ExactPaper paper(info);
    const auto stream = printToStream(paper.request());
    auto file = stream ? save(*stream, paper, info) : tl::unexpected(stream.error());
    if (file && !m_isCutShort) {
        m_session->setFine();
        if (!m_engine.hasNetwork() && m_session->requests().bytes() < lightBytes &&
            Clock::now() < m_start + lightTime) {
            m_session->setLight();
        }
    }
    // The engine gets ready for the next page while this one's file is brought to the disk.
    m_session.reset();
    if (!file) {
        return tl::unexpected(std::move(file.error()));
    }
    if (auto committed = file->commit(); !committed) {
        return tl::unexpected(notWritten(committed.error()));
    }
    return {};
}

WebResult<std::string> WebView::printToStream(const PrintInfo& info) {
    const auto deadline = m_start + m_limits.time;
    const auto prepared = prepareForPaper(info);
    if (!prepared) {
        return tl::unexpected(prepared.error());
    }
    const auto question =
        m_session->ask("Page.printToPDF", {{"printBackground", true},
                                           {"displayHeaderFooter", false},
                                           {"preferCSSPageSize", false},
                                           {"generateTaggedPDF", true},
                                           {"paperWidth", info.paper.width / pointsPerInch},
                                           {"paperHeight", info.paper.height / pointsPerInch},
                                           {"marginTop", info.topMargin / pointsPerInch},
                                           {"marginBottom", info.bottomMargin / pointsPerInch},
                                           {"marginLeft", info.leftMargin / pointsPerInch},
                                           {"marginRight", info.rightMargin / pointsPerInch},
                                           {"transferMode", "ReturnAsStream"}});
    if (const auto value = m_session->valueOf(prepared, deadline); !value) {
        return tl::unexpected(value.error());
    }
    const auto printed = m_session->answerTo(question, deadline);
    return printed ? WebResult<std::string>(json::text(*printed, "stream"))
                   : tl::unexpected(printed.error());
}

WebResult<int> WebView::prepareForPaper(const PrintInfo& info) {
    const auto deadline = m_start + m_limits.time;
    const auto soon = [deadline]() { return std::min(deadline, Clock::now() + shortWhile); };
    m_session->requests().leads().finish();
    std::vector<std::optional<int>> questions;
    if (!m_isQuiet) {
        m_session->tell("Emulation.setEmulatedMedia", {{"media", "print"}});
        questions.push_back(m_session->ask("DOM.enable", JSON::object()));
        questions.push_back(m_session->ask("CSS.enable", JSON::object()));
    }
    if (!m_isCutShort) {
        // Fonts and pictures that only paper needs are asked for now. Whatever does not come
        // soon is printed without. What fades in is there at once; only what moves for ever has
        // no end to go to.
        const auto ready = m_session->evaluate(
            "window.dispatchEvent(new Event('beforeprint'));"
            "document.body && document.body.offsetHeight;"
            "document.getAnimations().forEach(one => { try { one.finish() } catch {} });"
            "document.fonts.ready.then(() => true)",
            soon());
        if (!ready && m_session->hasCrashed()) {
            return tl::unexpected(ready.error());
        }
        if (!m_isQuiet) {
            endScripts();
        }
    }
    if (auto taken = takeInForeignFrames(*m_session, soon()); !taken) {
        return tl::unexpected(taken.error());
    }
    const auto metrics = m_session->ask("Page.getLayoutMetrics", JSON::object());
    for (const auto& question : questions) {
        if (const auto enabled = m_session->answerTo(question, deadline); !enabled) {
            return tl::unexpected(enabled.error());
        }
    }
    if (auto hidden = hideScriptless(); !hidden) {
        return tl::unexpected(hidden.error());
    }
    if (auto removed = removePageRules(); !removed) {
        return tl::unexpected(removed.error());
    }
    const auto measured = m_session->answerTo(metrics, deadline);
    if (!measured) {
        return tl::unexpected(measured.error());
    }
    const double height = json::number(json::inner(*measured, "cssContentSize"), "height");
    if (height > m_limits.sheets * info.printableHeight() * pixelsPerPoint) {
        return tl::unexpected(WebError{
            WebError::Kind::refused,
            "it would be longer than " + std::to_string(std::lround(m_limits.sheets)) + " pages"});
    }
    // Style sheets made by a script are subject to no policy of the page's.
    return m_session->askToEvaluate(
        "{ const rules = new CSSStyleSheet(); rules.replaceSync(" + quoted(pageRules(info)) +
            "); document.adoptedStyleSheets = [...document.adoptedStyleSheets, rules]; true }",
        deadline);
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

WebResult<void> WebView::removePageRules() {
    const auto deadline = m_start + m_limits.time;
    // The set grows when a changed sheet is announced once more.
    const std::set<std::string> sheets = m_session->styleSheets();
    if (sheets.size() > mostStyleSheets) {
        return tl::unexpected(
            WebError{WebError::Kind::refused, "it has an absurd number of style sheets"});
    }
    std::vector<std::pair<JSON, std::optional<int>>> questions;
    for (const std::string& sheet : sheets) {
        const JSON which = {{"styleSheetId", sheet}};
        questions.emplace_back(which, m_session->ask("CSS.getStyleSheetText", which));
    }
    for (auto& [which, question] : questions) {
        const auto text = m_session->answerTo(question, deadline);
        auto changed = withoutPageRules(text ? json::text(*text, "text") : std::string());
        if (changed) {
            which["text"] = std::move(*changed);
            const auto set = m_session->call("CSS.setStyleSheetText", which, deadline);
            if (!set) {
                return tl::unexpected(set.error());
            }
        } else if (!text && m_session->hasCrashed()) {
            return tl::unexpected(text.error());
        }
    }
    return {};
}

WebResult<ReplacementFile> WebView::save(const std::string& stream, ExactPaper& paper,
                                         const PrintInfo& info) {
    const auto deadline = m_start + m_limits.time;
    auto file = ReplacementFile::create(info.savePath);
    if (!file) {
        return tl::unexpected(notWritten(file.error()));
    }
    const auto askForBlock = [this, &stream]() {
        return m_session->ask("IO.read", {{"handle", stream}, {"size", pdfBlock}});
    };
    // One block ahead: most files have one, and the next says that there are no more.
    std::array<std::optional<int>, 2> asked = {askForBlock(), askForBlock()};
    for (std::size_t turn = 0;; turn = 1 - turn) {
        const auto block = m_session->answerTo(asked.at(turn), deadline);
        if (!block) {
            return tl::unexpected(block.error());
        }
        const std::string text = json::text(*block, "data");
        const auto bytes = json::flag(*block, "base64Encoded", false) ? fromBase64(text) : text;
        if (!bytes) {
            return tl::unexpected(m_session->errorOf(WebWait::engineGone));
        }
        const bool isWhole = json::flag(*block, "eof", true);
        if (auto written = file->write(paper.corrected(*bytes, isWhole)); !written) {
            return tl::unexpected(notWritten(written.error()));
        }
        if (isWhole) {
            break;
        }
        asked.at(turn) = askForBlock();
    }
    if (file->bytesWritten() == 0) {
        return tl::unexpected(WebError{WebError::Kind::refused, "the web engine printed nothing"});
    }
    return std::move(*file);
}

} // namespace quillorn
