#pragma once

#include "platform/ui/LongWork.h"
#include "platform/ui/MainThread.h"
#include "platform/ui/WorkerThreads.h"

#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// One thread plays all parts: what is handed over runs at once.
class SameThread final : public MainThread, public WorkerThreads {
public:
    [[nodiscard]] bool isCurrent() const override { return true; }
    bool runAndWait(const std::function<void()>& work) override {
        work();
        return true;
    }
    void post(std::function<void()> work) override { work(); }
    void detachNewThread(std::function<void(const std::stop_token&)> work) override {
        ++m_started;
        work(std::stop_token());
    }

    int m_started = 0;
};

/// A series whose pieces are work like any other.
class PlainSeries final : public LongWork {
public:
    explicit PlainSeries(LongWork& all) : m_all(all) {}
    [[nodiscard]] bool run(const std::string& text, const Work& work) override {
        return m_all.run(text, work);
    }
    [[nodiscard]] std::unique_ptr<LongWork> series(const std::string& text) override {
        return m_all.series(text);
    }

private:
    LongWork& m_all;
};

/// Runs work at once. A test may let the user cancel from the n-th piece of work on.
class ImmediateWork final : public LongWork {
public:
    [[nodiscard]] bool run(const std::string& text, const Work& work) override {
        m_texts.push_back(text);
        const bool cancelled = m_cancelFrom >= 0 && std::ssize(m_texts) > m_cancelFrom;
        std::stop_source stop;
        if (cancelled) {
            stop.request_stop();
        }
        work(stop.get_token());
        return !cancelled;
    }
    [[nodiscard]] std::unique_ptr<LongWork> series(const std::string& text) override {
        m_series.push_back(text);
        return std::make_unique<PlainSeries>(*this);
    }

    std::vector<std::string> m_series;
    std::vector<std::string> m_texts;
    std::ptrdiff_t m_cancelFrom = -1; ///< index of the first piece that is cancelled
};

} // namespace quillorn::tests
