#pragma once

#include "TemporaryFolder.h"

#include "support/ASLog.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

// Collects what the library logs while it lives. The process's log is opened on first use.
class LogCapture {
public:
    LogCapture() {
        static const bool opened = ASInitializeLogA(TemporaryFolder().path().c_str());
        EXPECT_TRUE(opened);
        {
            const std::lock_guard lock(Mutex());
            Lines().clear();
        }
        ASInitializeLogEx(Receive);
    }
    ~LogCapture() { ASInitializeLogEx(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const {
        const std::lock_guard lock(Mutex());
        return Lines();
    }

private:
    static void Receive(const char* text) {
        const std::lock_guard lock(Mutex());
        Lines().emplace_back(text);
    }
    static std::mutex& Mutex() {
        static std::mutex mutex;
        return mutex;
    }
    static std::vector<std::string>& Lines() {
        static std::vector<std::string> lines;
        return lines;
    }
};

using LogLines = std::vector<std::string>;
