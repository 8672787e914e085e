// A worker thread that logs the messages it is sent.
//
//     example_logging_worker [folder for the log file]

#include "support/ASLog.h"
#include "support/CASMessageQueue.h"
#include "support/CASThread.h"

#include <cstdint>
#include <cstdio>

namespace {

enum Message : uint32_t { Progress = 1, PageDone = 2, Stop = 3 };

class LoggingWorker : public CASThread {
public:
    ~LoggingWorker() override { Finish(); }
    LoggingWorker() { startThread(nullptr, ASThreadPriorityNormal, 0); }
    LoggingWorker(const LoggingWorker&) = delete;
    LoggingWorker& operator=(const LoggingWorker&) = delete;
    using CASThread::operator=;

    void Send(Message message, uint32_t param, double value) {
        m_queue.PutMessage({message, param, value, 0});
    }
    /// Has everything sent so far logged, then ends the thread.
    void Finish() {
        Send(Stop, 0, 0);
        WaitForThreadExit();
    }

private:
    int32_t Execute(void* /*param*/) override {
        for (;;) {
            const ASMessageData message = m_queue.GetMessage();
            switch (message.message) {
            case Progress: // many in a row arrive as one: the last
                ASPrintfTextA("progress %.0f %%", message.value1 * 100);
                break;
            case PageDone:
                ASPrintfTextA("page %u done", message.param);
                break;
            default:
                return 0;
            }
        }
    }

    CASMessageQueue m_queue;
};

} // namespace

int main(int argc, char** argv) {
    if (!ASInitializeLogA(argc > 1 ? argv[1] : "/tmp")) {
        std::fputs("cannot open the log\n", stderr);
        return 1;
    }
    {
        LoggingWorker worker;
        for (uint32_t page = 1; page <= 3; ++page) {
            for (int step = 0; step <= 100; ++step)
                worker.Send(Progress, page, step / 100.0);
            worker.Send(PageDone, page, 0);
        }
    }
    ASDeInitializeLog();
    return 0;
}
