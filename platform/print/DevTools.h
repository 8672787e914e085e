#pragma once

#include "platform/process/ChildProcess.h"

#include <chrono>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <stop_token>
#include <string>

namespace quillorn {

/// Why waiting for a web engine ended without what was waited for.
enum class WebWait {
    done,
    timeOver,
    cancelled,
    engineGone ///< it died, or no longer reads what we say
};

/// The DevTools protocol over a pair of pipes: JSON messages that end with a null byte, requests
/// with numbers that their answers repeat, and events in between.
class DevTools {
public:
    using Clock = std::chrono::steady_clock;
    using JSON = nlohmann::json;

    /// The pipes' numbers in the engine.
    static constexpr int requestPipe = 3;
    static constexpr int answerPipe = 4;

    /// `engine` has both pipes and outlives this object.
    explicit DevTools(ChildProcess& engine) : m_engine(engine) {}

    /// Sends a request and returns its number. An empty session means the engine as a whole.
    /// Nothing when the engine does not take it.
    std::optional<int> send(const std::string& method, JSON parameters,
                            const std::string& session = {});

    /// The next message, which is any JSON object.
    [[nodiscard]] WebWait receive(JSON& message, Clock::time_point deadline,
                                  const std::stop_token& stop);

private:
    /// Takes what has come. False when nothing will come any more.
    bool read();
    bool writeWhole(const std::string& text);
    /// Whether a message was complete and taken.
    bool takeMessage(JSON& message);

    ChildProcess& m_engine;
    std::string m_received;
    std::size_t m_start = 0;   ///< of the next message in m_received
    std::size_t m_scanned = 0; ///< no end of a message before this
    int m_lastNumber = 0;
};

} // namespace quillorn
