#include "tests/fakes/TestPDF.h"
#include "tests/platform/render/RenderTesting.h"

#include <csignal>
#include <cstdint>
#include <fstream>
#include <string>
#include <sys/types.h>

namespace quillorn {
namespace {

/// The pages that MisbehavingWorker.cpp knows.
enum BadPage : std::uint32_t {
    good,
    crashing,
    hanging,
    tooWide,
    shortPacket,
    wrongDocument,
    fileReading,
    fileWriting,
    fontReading,
    networking,
    programStarting,
    memoryTaking,
    silentLeaving
};

class WorkerTroubleTest : public RenderTesting {
protected:
    void startMisbehaving() {
        ThumbnailLimits limits;
        limits.workers = 2;
        limits.worker.pageTime = std::chrono::milliseconds(2000);
        limits.worker.memory = std::uint64_t{1} << 30U;
        start(limits, QUILLORN_MISBEHAVING_RENDERER);
        m_source = open(tests::TestPDF("pages", 20).writeTo(m_folder / "pages.pdf"));
    }
    /// What becomes of a page, and whether the next one is drawn all the same.
    std::string endOf(BadPage page) {
        const std::string end = stateOf(drawn(requestOf(m_source, page)));
        return end + ", " + stateOf(drawn(requestOf(m_source, good, 50 + page)));
    }
    /// Of something that the worker tried: "yes" or "no".
    std::string success(BadPage page) {
        const Picture picture = drawn(requestOf(m_source, page));
        return stateOf(picture) != "drawn" ? stateOf(picture) : picture->width == 2 ? "yes" : "no";
    }

    Source m_source;
};

TEST_F(WorkerTroubleTest, APageThatKillsItsWorkerIsUndrawableAndTheOthersAreDrawn) {
    startMisbehaving();
    EXPECT_EQ(endOf(crashing), "undrawable, drawn");
    EXPECT_EQ(endOf(silentLeaving), "undrawable, drawn");
}

TEST_F(WorkerTroubleTest, APageThatTakesTooLongIsUndrawableAndTheOthersAreDrawn) {
    startMisbehaving();
    EXPECT_EQ(endOf(hanging), "undrawable, drawn");
}

TEST_F(WorkerTroubleTest, NonsenseFromAWorkerIsNotBelieved) {
    startMisbehaving();
    EXPECT_EQ(endOf(tooWide), "undrawable, drawn");
    EXPECT_EQ(endOf(shortPacket), "undrawable, drawn");
    EXPECT_EQ(endOf(wrongDocument), "undrawable, drawn");
}

TEST_F(WorkerTroubleTest, AWorkerReadsFontsAndNothingElse) {
    startMisbehaving();
    EXPECT_EQ(success(fontReading), "yes");
    EXPECT_EQ(success(fileReading), "no");
    EXPECT_EQ(success(fileWriting), "no");
    EXPECT_EQ(success(networking), "no");
    EXPECT_EQ(success(programStarting), "no");
}

#ifndef QUILLORN_SANITIZERS
TEST_F(WorkerTroubleTest, AWorkerGetsNoMoreMemoryThanItMay) {
    startMisbehaving();
    EXPECT_EQ(success(memoryTaking), "no");
}
#endif

TEST_F(WorkerTroubleTest, TheRealWorkerIsConfined) {
    start();
    EXPECT_EQ(stateOf(drawn(requestOf(open(cornersPDF("/MediaBox [0 0 200 100]")), 0))), "drawn");

    ASSERT_FALSE(m_renderer->workerProcesses().empty());
    std::ifstream status("/proc/" + std::to_string(m_renderer->workerProcesses().front()) +
                         "/status");
    std::string text;
    for (std::string line; std::getline(status, line);) {
        text += line + "\n";
    }
    EXPECT_NE(text.find("NoNewPrivs:\t1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Seccomp:\t2\n"), std::string::npos) << text;
}

TEST_F(WorkerTroubleTest, AnEndlessPageIsGivenUpAndHoldsNobodyUp) {
    ThumbnailLimits limits;
    limits.workers = 2;
    limits.worker.pageTime = std::chrono::milliseconds(3000);
    start(limits);
    const Source endless = open(endlessPDF());
    const Source other = open(tests::TestPDF("other", 5).writeTo(m_folder / "other.pdf"));
    const ThumbnailRequest bad = requestOf(endless, 0);
    std::vector<ThumbnailRequest> all = {bad};
    for (std::size_t page = 0; page < 5; ++page) {
        all.push_back(requestOf(other, page));
    }

    m_renderer->setWishes(m_requester, {all, {}});

    ASSERT_TRUE(wait([&] { return hasArrived(bad); }));
    EXPECT_EQ(m_arrived.size(), 6U);
    EXPECT_EQ(m_arrived.back(), bad) << "the others came while it was being drawn";
    EXPECT_EQ(stateOf(m_renderer->find(bad)), "undrawable");
}

TEST_F(WorkerTroubleTest, AWorkerKilledInTheMiddleIsReplacedAndItsPageDrawn) {
    ThumbnailLimits limits;
    limits.workers = 1;
    start(limits);
    const Source source = open(tests::TestPDF("pages", 30).writeTo(m_folder / "pages.pdf"));
    std::vector<ThumbnailRequest> all;
    for (std::size_t page = 0; page < 30; ++page) {
        all.push_back(requestOf(source, page, 600));
    }
    m_renderer->setWishes(m_requester, {all, {}});
    ASSERT_TRUE(wait([&] { return m_arrived.size() >= 10; }));
    const pid_t killed = m_renderer->workerProcesses().front();

    ::kill(killed, SIGKILL);

    ASSERT_TRUE(wait([&] { return m_arrived.size() == all.size(); }));
    for (const ThumbnailRequest& request : all) {
        EXPECT_EQ(stateOf(m_renderer->find(request)), "drawn") << request.page;
    }
    EXPECT_NE(m_renderer->workerProcesses().front(), killed);
}

TEST_F(WorkerTroubleTest, AnIdleWorkerThatDiesIsReplacedWhenItIsNeeded) {
    ThumbnailLimits limits;
    limits.workers = 1;
    start(limits);
    const Source source = open(cornersPDF("/MediaBox [0 0 200 100]"));
    EXPECT_EQ(stateOf(drawn(requestOf(source, 0))), "drawn");

    ::kill(m_renderer->workerProcesses().front(), SIGKILL);

    EXPECT_EQ(stateOf(drawn(requestOf(source, 0, 60))), "drawn");
}

TEST_F(WorkerTroubleTest, WorkersEndWithTheRenderer) {
    start();
    const std::vector<pid_t> processes = m_renderer->workerProcesses();
    ASSERT_FALSE(processes.empty());

    m_renderer.reset();

    for (const pid_t process : processes) {
        EXPECT_NE(::kill(process, 0), 0);
    }
}

TEST_F(WorkerTroubleTest, WithoutItsProgramEveryPageIsUndrawable) {
    start({}, m_folder / "no-such-worker");

    EXPECT_EQ(stateOf(drawn(requestOf(open(cornersPDF("/MediaBox [0 0 200 100]")), 0))),
              "undrawable");
}

TEST_F(WorkerTroubleTest, AProgramThatIsNoWorkerMakesEveryPageUndrawable) {
    start({}, "/bin/true");
    const Source source = open(tests::TestPDF("pages", 5).writeTo(m_folder / "pages.pdf"));

    for (std::size_t page = 0; page < 5; ++page) {
        EXPECT_EQ(stateOf(drawn(requestOf(source, page))), "undrawable");
    }
}

} // namespace
} // namespace quillorn
