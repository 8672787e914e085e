#include "platform/pdf/PDFSource.h"
#include "platform/render/ThumbnailRenderer.h"
#include "tests/corpus/Corpus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <poll.h>
#include <string>
#include <vector>

namespace quillorn::corpus {
namespace {

using Source = std::shared_ptr<const PDFSource>;

constexpr std::uint32_t side = 200; // pixels
constexpr std::size_t mostPages = 12;

ThumbnailRequest requestOf(const Source& source, std::size_t page) {
    return ThumbnailRequest{source, page, 0, side, side};
}

/// One renderer for all documents, as in the program.
class SharedRenderer : public testing::Environment {
public:
    static ThumbnailRenderer& get() {
        if (theOne() == nullptr) {
            theOne() = std::make_unique<ThumbnailRenderer>(
                std::filesystem::path(QUILLORN_WORKER_FOLDER) / "quillorn-render-worker");
        }
        return *theOne();
    }
    void TearDown() override { theOne().reset(); }

private:
    static std::unique_ptr<ThumbnailRenderer>& theOne() {
        static std::unique_ptr<ThumbnailRenderer> one;
        return one;
    }
};

[[maybe_unused]] testing::Environment* const sharedRenderer =
    testing::AddGlobalTestEnvironment(new SharedRenderer); // NOLINT: GoogleTest owns it

ThumbnailRenderer& renderer() {
    return SharedRenderer::get();
}

/// Draws the first pages and returns their pictures; fewer when something takes far too long.
std::vector<std::shared_ptr<const Thumbnail>> drawnPages(const Source& source) {
    std::vector<std::shared_ptr<const Thumbnail>> pictures;
    ThumbnailWishes wishes;
    for (std::size_t page = 0; page < std::min(source->pageCount(), mostPages); ++page) {
        wishes.visible.push_back(requestOf(source, page));
    }
    const auto requester = renderer().addRequester([](const ThumbnailRequest&) {});
    renderer().setWishes(requester, wishes);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(5);
    while (!renderer().isIdle()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd waiting{renderer().eventDescriptor(), POLLIN, 0};
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) <= 0) {
            break;
        }
        renderer().processEvents();
    }
    for (const ThumbnailRequest& request : wishes.visible) {
        if (auto picture = renderer().find(request)) {
            pictures.push_back(std::move(picture));
        }
    }
    renderer().removeRequester(requester);
    return pictures;
}

bool isDrawn(const std::shared_ptr<const Thumbnail>& picture) {
    return picture->state == Thumbnail::State::drawn;
}

/// Sound documents that Poppler does not open: one has its pages as direct objects, one a trailer
/// that it does not find, one a password of more than 127 bytes.
bool isBeyondPoppler(const Document& document) {
    return document.name == "pdf/direct-pages.pdf" ||
           document.name == "pdf/bug1978317-32768-links.pdf" ||
           document.name == "pdf-encrypted/enc-XI-long-password.pdf";
}

class SeenPages : public testing::TestWithParam<Document> {};

TEST_P(SeenPages, HaveThePagesProportions) {
    const auto source = PDFSource::open(GetParam().file);
    ASSERT_TRUE(source) << source.error().reason;

    const auto pictures = drawnPages(*source);

    ASSERT_EQ(pictures.size(), std::min((*source)->pageCount(), mostPages));
    if (isBeyondPoppler(GetParam())) {
        EXPECT_TRUE(std::ranges::none_of(pictures, isDrawn)) << "no exception any more";
        return;
    }
    for (std::size_t page = 0; page < pictures.size(); ++page) {
        ASSERT_TRUE(isDrawn(pictures[page])) << "page " << page + 1;
        const auto geometry = (*source)->geometry(page);
        ASSERT_TRUE(geometry) << geometry.error().reason;
        const PDFSize size = geometry->displaySize();
        const double scale = side / std::max(size.width, size.height);
        EXPECT_NEAR(pictures[page]->width, std::max(size.width * scale, 1.0), 1) << page + 1;
        EXPECT_NEAR(pictures[page]->height, std::max(size.height * scale, 1.0), 1) << page + 1;
    }
}

class SeenLockedPages : public testing::TestWithParam<Document> {};

TEST_P(SeenLockedPages, AreDrawnWithEveryKnownPassword) {
    const auto source = PDFSource::open(GetParam().file);
    ASSERT_TRUE(source) << source.error().reason;
    std::vector<Source> opened;
    if (!(*source)->isLocked()) {
        opened.push_back(*source);
    }
    for (const KnownPassword& password : GetParam().passwords) {
        const auto unlocked = (*source)->unlocked(password.text);
        ASSERT_TRUE(unlocked) << password.text << ": " << unlocked.error().reason;
        opened.push_back(*unlocked);
    }
    for (const Source& unlocked : opened) {
        const auto pictures = drawnPages(unlocked);
        EXPECT_EQ(pictures.size(), std::min(unlocked->pageCount(), mostPages));
        EXPECT_EQ(std::ranges::all_of(pictures, isDrawn), !isBeyondPoppler(GetParam()));
    }
}

class SeenDamagedPages : public testing::TestWithParam<Document> {};

TEST_P(SeenDamagedPages, AreDrawnOrCannotBe) {
    const auto source = PDFSource::open(GetParam().file);
    if (!source || (*source)->isLocked()) {
        return; // refused, so there is nothing to see
    }
    const auto pictures = drawnPages(*source);

    EXPECT_EQ(pictures.size(), std::min((*source)->pageCount(), mostPages));
}

std::string nameOf(const testing::TestParamInfo<Document>& info) {
    return testName(info.param);
}

INSTANTIATE_TEST_SUITE_P(Corpus, SeenPages, testing::ValuesIn(Corpus::get().documents("pdf")),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Corpus, SeenLockedPages,
                         testing::ValuesIn(Corpus::get().documents("pdf-encrypted")), nameOf);
INSTANTIATE_TEST_SUITE_P(Corpus, SeenDamagedPages,
                         testing::ValuesIn(Corpus::get().documents("pdf-damaged")), nameOf);

} // namespace
} // namespace quillorn::corpus
