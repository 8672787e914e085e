#include "tests/fakes/TestPDF.h"
#include "tests/platform/render/RenderTesting.h"

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <set>
#include <string>

namespace quillorn {
namespace {

class ThumbnailRendererTest : public RenderTesting {
protected:
    Source pages(std::size_t count, const std::string& name = "pages") {
        return open(tests::TestPDF(name, count).writeTo(m_folder / (name + ".pdf")));
    }
    static std::vector<ThumbnailRequest> requests(const Source& source, std::size_t first,
                                                  std::size_t end, std::uint32_t side = 100) {
        std::vector<ThumbnailRequest> all;
        for (std::size_t page = first; page < end; ++page) {
            all.push_back(requestOf(source, page, side));
        }
        return all;
    }
    static ThumbnailLimits oneWorker() {
        ThumbnailLimits limits;
        limits.workers = 1;
        return limits;
    }
    [[nodiscard]] std::vector<std::size_t> arrivedPages() const {
        std::vector<std::size_t> numbers;
        for (const ThumbnailRequest& request : m_arrived) {
            numbers.push_back(request.page);
        }
        return numbers;
    }
};

TEST_F(ThumbnailRendererTest, DrawsWhatIsVisibleBeforeWhatIsNear) {
    start(oneWorker());
    const Source source = pages(8);

    m_renderer->setWishes(m_requester, {requests(source, 4, 8), requests(source, 0, 4)});

    ASSERT_TRUE(wait([&] { return m_renderer->isIdle(); }));
    EXPECT_EQ(arrivedPages(), (std::vector<std::size_t>{4, 5, 6, 7, 0, 1, 2, 3}));
}

TEST_F(ThumbnailRendererTest, WhatIsVisibleToOneGoesBeforeWhatIsNearToAnother) {
    start(oneWorker());
    const Source source = pages(6);
    m_renderer->setWishes(m_requester, {requests(source, 0, 1), requests(source, 1, 4)});
    const auto second = m_renderer->addRequester([](const ThumbnailRequest&) {});
    m_renderer->setWishes(second, {requests(source, 5, 6), {}});

    ASSERT_TRUE(wait([&] { return m_renderer->isIdle(); }));
    EXPECT_EQ(arrivedPages(), (std::vector<std::size_t>{0, 5, 1, 2, 3}));
}

TEST_F(ThumbnailRendererTest, ForgetsWhatIsNoLongerWished) {
    start(oneWorker());
    const Source source = pages(200);
    m_renderer->setWishes(m_requester, {requests(source, 0, 150, 800), {}});
    ASSERT_TRUE(wait([&] { return !m_arrived.empty(); }));

    m_renderer->setWishes(m_requester, {requests(source, 190, 200), {}});

    ASSERT_TRUE(wait([&] { return m_renderer->isIdle(); }));
    EXPECT_LT(m_arrived.size(), 60U);
    for (const ThumbnailRequest& request : requests(source, 190, 200)) {
        EXPECT_TRUE(hasArrived(request));
    }
}

TEST_F(ThumbnailRendererTest, APageThatNobodyWishesForAnyMoreMakesWay) {
    start(oneWorker());
    const ThumbnailRequest endless = requestOf(open(endlessPDF()), 0);
    m_renderer->setWishes(m_requester, {{endless}, {}});

    const ThumbnailRequest wanted = requestOf(pages(1), 0);
    m_renderer->setWishes(m_requester, {{wanted}, {}});

    ASSERT_TRUE(wait([&] { return hasArrived(wanted); }));
    EXPECT_FALSE(hasArrived(endless));
    EXPECT_EQ(stateOf(m_renderer->find(wanted)), "drawn");
}

TEST_F(ThumbnailRendererTest, PagesOfOneDocumentAreDrawnByAllWorkers) {
    ThumbnailLimits limits;
    limits.workers = 2;
    start(limits);
    const Source source = pages(40);
    EXPECT_EQ(stateOf(drawn(requestOf(source, 39))), "drawn");
    const std::vector<pid_t> workers = m_renderer->workerProcesses();
    ASSERT_EQ(workers.size(), 2U);
    // One stands still: the other does all but the page that it was given.
    ::kill(workers.front(), SIGSTOP);
    m_arrived.clear();

    m_renderer->setWishes(m_requester, {requests(source, 0, 20), {}});

    EXPECT_TRUE(wait([&] { return m_arrived.size() == 19; }));
    ::kill(workers.front(), SIGCONT);
    EXPECT_TRUE(wait([&] { return m_arrived.size() == 20; }));
    EXPECT_EQ(m_renderer->workerProcesses(), workers);
}

TEST_F(ThumbnailRendererTest, APictureThatIsThereIsNotDrawnAgain) {
    const Source source = pages(2);
    const Picture first = drawn(requestOf(source, 0));
    m_arrived.clear();

    m_renderer->setWishes(m_requester, {requests(source, 0, 2), {}});
    ASSERT_TRUE(wait([&] { return m_renderer->isIdle(); }));

    EXPECT_EQ(arrivedPages(), (std::vector<std::size_t>{1}));
    EXPECT_EQ(m_renderer->find(requestOf(source, 0)), first);
}

TEST_F(ThumbnailRendererTest, TheSameDocumentOpenedTwiceIsTwoDocuments) {
    const Source one = pages(1);
    const Source other = open(one->path());
    EXPECT_EQ(stateOf(drawn(requestOf(one, 0))), "drawn");

    EXPECT_EQ(m_renderer->find(requestOf(other, 0)), nullptr);
}

TEST_F(ThumbnailRendererTest, ANearSizeServesUntilTheRightOneIsThere) {
    const Source source = pages(2);
    const Picture small = drawn(requestOf(source, 0, 100));

    EXPECT_EQ(m_renderer->find(requestOf(source, 0, 150)), nullptr);
    EXPECT_EQ(m_renderer->findNearest(requestOf(source, 0, 150)), small);
    EXPECT_EQ(m_renderer->findNearest(requestOf(source, 0, 50)), small);
    EXPECT_EQ(m_renderer->findNearest(requestOf(source, 1, 100)), nullptr);
    EXPECT_EQ(m_renderer->findNearest(requestOf(source, 0, 100, 90)), nullptr);
}

TEST_F(ThumbnailRendererTest, MemoryStaysBounded) {
    ThumbnailLimits limits;
    limits.cacheBytes = 600'000;
    start(limits);
    const Source source = pages(50);

    m_renderer->setWishes(m_requester, {requests(source, 0, 50, 200), {}});
    ASSERT_TRUE(wait([&] { return m_renderer->isIdle(); }));

    std::size_t bytes = 0;
    for (const ThumbnailRequest& request : requests(source, 0, 50, 200)) {
        if (const Picture picture = m_renderer->find(request)) {
            bytes += picture->pixels.size() * sizeof(std::uint32_t);
        }
    }
    EXPECT_GT(bytes, 300'000U);
    EXPECT_LE(bytes, limits.cacheBytes);
    EXPECT_NE(m_renderer->find(m_arrived.back()), nullptr);
}

TEST_F(ThumbnailRendererTest, AClosedDocumentIsClosedEverywhere) {
    start(oneWorker());
    Source source = pages(1);
    const std::string path = source->path().string();
    EXPECT_EQ(stateOf(drawn(requestOf(source, 0))), "drawn");
    const std::string folder =
        "/proc/" + std::to_string(m_renderer->workerProcesses().front()) + "/fd";
    const auto isOpenInWorker = [&] {
        std::set<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            files.insert(std::filesystem::read_symlink(entry).string());
        }
        return files.contains(path);
    };
    EXPECT_TRUE(isOpenInWorker());

    m_arrived.clear();
    source.reset();
    m_renderer->setWishes(m_requester, {});
    EXPECT_EQ(stateOf(drawn(requestOf(pages(1, "other"), 0))), "drawn");

    EXPECT_FALSE(isOpenInWorker());
}

TEST_F(ThumbnailRendererTest, ClosingADocumentDoesNotDisturbThePageOfAnotherThatIsBeingDrawn) {
    start(oneWorker());
    Source closing = pages(1, "closing");
    const std::string path = closing->path().string();
    EXPECT_EQ(stateOf(drawn(requestOf(closing, 0))), "drawn");
    m_arrived.clear(); // which hold it open
    const ThumbnailRequest slow = requestOf(pages(1, "slow"), 0, 3000);
    m_renderer->setWishes(m_requester, {{slow}, {}});

    closing.reset();

    EXPECT_EQ(stateOf(drawn(slow)), "drawn");
}

TEST_F(ThumbnailRendererTest, MemoryForALargePictureIsGivenBackWithTheNextSmallOne) {
    start(oneWorker());
    const Source source = pages(2);
    const auto sharedMemory = [] { // bytes of this process, of pictures that come in
        std::ifstream maps("/proc/self/maps");
        std::uint64_t bytes = 0;
        for (std::string line; std::getline(maps, line);) {
            if (line.find("quillorn-page") != std::string::npos) {
                std::size_t length = 0;
                const std::uint64_t first = std::stoull(line, &length, 16);
                bytes += std::stoull(line.substr(length + 1), nullptr, 16) - first;
            }
        }
        return bytes;
    };
    EXPECT_EQ(stateOf(drawn(requestOf(source, 0, 3000))), "drawn");
    EXPECT_GE(sharedMemory(), 3000U * 3000U * 4U);

    EXPECT_EQ(stateOf(drawn(requestOf(source, 1, 100))), "drawn");

    EXPECT_LE(sharedMemory(), 8U << 20U);
}

TEST_F(ThumbnailRendererTest, MoreDocumentsThanAWorkerKeepsOpenAreDrawn) {
    start(oneWorker());
    std::vector<ThumbnailRequest> all;
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 10; ++i) {
            const Source source = round == 0 ? pages(1, "file" + std::to_string(i))
                                             : all[static_cast<std::size_t>(i)].source;
            all.push_back(requestOf(source, 0, 100U + static_cast<std::uint32_t>(round)));
        }
    }

    m_renderer->setWishes(m_requester, {all, {}});

    ASSERT_TRUE(wait([&] { return m_renderer->isIdle(); }));
    for (const ThumbnailRequest& request : all) {
        EXPECT_EQ(stateOf(m_renderer->find(request)), "drawn");
    }
}

} // namespace
} // namespace quillorn
