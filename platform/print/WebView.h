#pragma once

#include "platform/files/ReplacementFile.h"
#include "platform/print/ExactPaper.h"
#include "platform/print/PrintInfo.h"
#include "platform/print/WebContent.h"
#include "platform/print/WebEngine.h"
#include "platform/print/WebError.h"
#include "platform/print/WebSession.h"

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace quillorn {

/// Loads a web page into the engine and prints it to a PDF file.
///
/// Loading ends with the page's load event, and at half of the time limit in any case: what is
/// there by then is printed. A page that leads on is followed first, see WebLeads. Pictures and
/// styles that are missing do not hold it up; other
/// machines, where they may be asked at all, are given up when they keep silent, and the page is
/// loaded without them. Then scripts are switched off, so that nothing changes any more, and the
/// page is laid out for the paper with our margins, whatever its own "@page" rules say.
///
/// One page after the other, on one thread.
class WebView {
public:
    struct Limits {
        std::chrono::milliseconds time{28'000};   ///< for loading and printing together
        std::chrono::milliseconds silence{1'900}; ///< of other machines, altogether
        double sheets = 5'000;                    ///< a page that is longer than so many is refused
    };

    /// `engine` outlives this object.
    explicit WebView(WebEngine& engine) : WebView(engine, Limits()) {}
    WebView(WebEngine& engine, Limits limits) : m_engine(engine), m_limits(limits) {}

    /// Loads a page to be printed on paper like `info`'s, in place of the one before.
    WebResult<void> load(std::unique_ptr<WebContent> content, const PrintInfo& info,
                         const std::stop_token& stop = {});

    /// Prints the loaded page. The file at `info.savePath` is complete afterwards, or as it was
    /// before. Call it once for each `load`, whose stop token holds here, too.
    WebResult<void> print(const PrintInfo& info);

private:
    using Clock = DevTools::Clock;

    /// When loading ends in any case.
    [[nodiscard]] Clock::time_point half() const { return m_start + m_limits.time / 2; }
    /// Leaves the session as it ended.
    WebResult<void> loadOnce(const PrintInfo& info, const std::stop_token& stop);
    /// Lets the engine fetch the page at this address.
    WebResult<void> navigate(const std::string& url);
    /// Lets it fetch one after having left the present one.
    WebResult<void> navigateAgain(const std::string& url);
    WebResult<void> waitForLoad();
    /// Waits until the engine has told all about a load: what the page does right behind it, too.
    WebResult<void> hearOut();
    /// From now on no script runs.
    void endScripts();
    /// Takes a page that does not come to its end as it is, if it is there at all.
    WebResult<void> cutShort();
    /// Returns the engine's name for the stream of a PDF.
    WebResult<std::string> printToStream(const PrintInfo& info);
    /// Returns the question whose value tells that the last preparation was done.
    WebResult<int> prepareForPaper(const PrintInfo& info);
    /// Keeps what is meant for engines without scripts hidden, where scripts ran until now.
    WebResult<void> hideScriptless();
    /// Takes what a page says of paper and margins out of its style sheets.
    WebResult<void> removePageRules();
    /// Returns the written file, which its place is still without.
    WebResult<ReplacementFile> save(const std::string& stream, ExactPaper& paper,
                                    const PrintInfo& info);

    WebEngine& m_engine;
    Limits m_limits;
    std::unique_ptr<WebContent> m_content; ///< outlives m_session
    std::optional<WebSession> m_session;
    std::string m_loader; ///< the engine's name for the latest page that it was to fetch
    Clock::time_point m_start;
    bool m_isCutShort = false;
    bool m_isQuiet = false;      ///< shown where no script may run, for it has none
    bool m_isScriptless = false; ///< loaded without scripts from its start
};

} // namespace quillorn
