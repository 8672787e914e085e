#pragma once

#include "platform/print/DevTools.h"

#include <set>
#include <string>

namespace quillorn {

/// An empty page in the web engine, apart from all others, on its way: each answer of the engine
/// leads to the next request, so that it can come about beside other work. Whoever receives the
/// engine's messages shows them to it until it is there.
class WebPlace {
public:
    using JSON = DevTools::JSON;
    struct Size {
        int width = 0; ///< pixels
        int height = 0;
        bool operator==(const Size&) const = default;
    };

    /// Asks for the page. `devTools` outlives this object.
    WebPlace(DevTools& devTools, const Size& size);

    /// Takes a message if it is about the making of this page.
    void deal(const JSON& message);
    /// Makes it a place for pages without scripts, of which it can show several: none runs there
    /// from now on, so that nothing of a page goes on after it. Shows them as for paper, and tells
    /// of their style sheets.
    void makeQuiet();
    /// Makes a quiet place fit for another page, once it has shown one.
    void clear();
    /// Gives up a page that is there.
    void dispose();

    [[nodiscard]] bool isReady() const { return m_step == Step::ready; }
    [[nodiscard]] bool hasFailed() const { return m_step == Step::failed; }
    /// Why it failed.
    [[nodiscard]] const std::string& reason() const { return m_reason; }
    [[nodiscard]] const Size& size() const { return m_size; }
    [[nodiscard]] bool isQuiet() const { return m_isQuiet; }
    /// How often it was cleared.
    [[nodiscard]] int uses() const { return m_uses; }

    /// The engine's names; the target's is the main frame's, too.
    [[nodiscard]] const std::string& target() const { return m_target; }
    [[nodiscard]] const std::string& session() const { return m_session; }

private:
    enum class Step { context, target, session, preparations, ready, failed };

    void send(const char* method, JSON parameters);
    void fail(std::string reason);
    void goOn(const JSON& result);

    DevTools* m_devTools; ///< never null
    Size m_size;
    Step m_step = Step::context;
    std::set<int> m_awaited; ///< requests whose answers are still to come
    std::string m_context;
    std::string m_target;
    std::string m_session;
    std::string m_reason;
    bool m_isQuiet = false;
    int m_uses = 0;
};

/// Makes requests of a page, a frame in a process of its own, or a worker wait for an answer.
[[nodiscard]] DevTools::JSON everyWebRequest();
/// Lets us listen to what belongs to a page before it does anything.
[[nodiscard]] DevTools::JSON attachToAllTargets();

} // namespace quillorn
