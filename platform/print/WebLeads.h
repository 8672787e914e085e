#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace quillorn {

/// Decides how far a page that leads on to others is followed: by a script, a form or a refresh
/// that is due as soon as the page is there. It knows no engine; it is told what the main frame
/// does.
///
/// A lead goes through stages. It is *announced*, then *begun*, then the frame *asks* for the other
/// page, and that page *arrives*. Any of them may be the last. None may take long, and a lead that
/// follows on the heels of another gets no time of its own.
///
/// A page is followed to what its own content holds, a few times. Otherwise it stays as it is. If
/// it was not complete by then, the engine reads no further in it: it has to be loaded once more
/// without its scripts, to be what it says by itself. The same holds if it left without asking.
class WebLeads {
public:
    using Clock = std::chrono::steady_clock;

    /// The page at this address is about to be loaded, and asks for itself first.
    void start(std::string url);

    /// The page will ask for another one in so long. Far leads are for readers at a screen.
    void announce(std::chrono::duration<double> delay, Clock::time_point now);
    /// What was announced will not be.
    void withdraw();
    /// The page is leaving for another one.
    void begin(Clock::time_point now);
    /// The main frame asks for a page. Whether it is given; `isThere` says whether it can be.
    bool ask(const std::string& url, bool isThere, Clock::time_point now);
    /// The main frame shows another page now: one that was asked for, or it left without asking.
    void arrive();
    /// What the main frame was given is no page: it goes on showing the one before.
    void fail();
    /// The page that the main frame shows is complete.
    void setLoaded() { m_isLoaded = m_isShown; }

    /// From now on the page stays what it is.
    void finish();

    /// Gives up a lead that takes too long.
    void expire(Clock::time_point now);
    /// Until when a lead may still come to something; nothing when none is under way.
    [[nodiscard]] std::optional<Clock::time_point> openUntil() const;

    /// The address to be loaded once more without scripts, once.
    [[nodiscard]] std::optional<std::string> takeReload();

    /// The page that the main frame shows, or is to show.
    [[nodiscard]] const std::string& page() const { return m_page; }
    /// Whether it is to stay, whatever it wants.
    [[nodiscard]] bool isOver() const { return m_isOver; }
    /// Whether the main frame shows it.
    [[nodiscard]] bool isShown() const { return m_isShown; }
    /// Whether it is complete.
    [[nodiscard]] bool isLoaded() const { return m_isLoaded; }

private:
    enum class Stage { none, announced, begun, asked };

    void enter(Stage stage, Clock::time_point now);
    /// The present page is kept, whatever it wanted.
    void stay();

    std::string m_page;
    std::string m_next; ///< where an asked lead leads
    Stage m_stage = Stage::none;
    Clock::time_point m_until; ///< of a lead under way
    int m_leads = 0;
    bool m_wasServed = false; ///< the page that was started
    bool m_isShown = false;
    bool m_isLoaded = false;
    bool m_isOver = false;
    bool m_mustReload = false;
};

} // namespace quillorn
