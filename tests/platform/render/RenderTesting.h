#pragma once

#include "platform/pdf/PDFSource.h"
#include "platform/render/ThumbnailRenderer.h"
#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <poll.h>
#include <string>
#include <vector>

namespace quillorn {

/// A renderer with its worker processes, and an event loop of the plainest kind.
class RenderTesting : public testing::Test {
protected:
    using Source = std::shared_ptr<const PDFSource>;
    using Picture = std::shared_ptr<const Thumbnail>;

    /// Starts the renderer anew.
    void start(const ThumbnailLimits& limits = {},
               const std::filesystem::path& program = QUILLORN_RENDER_WORKER) {
        m_renderer = std::make_unique<ThumbnailRenderer>(program, limits);
        m_requester = m_renderer->addRequester(
            [this](const ThumbnailRequest& request) { m_arrived.push_back(request); });
        m_arrived.clear();
    }

    static Source open(const std::filesystem::path& path) {
        auto source = PDFSource::open(path);
        if (!source) {
            ADD_FAILURE() << path << ": " << source.error().reason;
            return nullptr;
        }
        return *source;
    }
    Source open(const tests::RawPDF& pdf) { return open(pdf.writeTo(m_folder / "in.pdf")); }

    static ThumbnailRequest requestOf(const Source& source, std::size_t page,
                                      std::uint32_t side = 100, int rotation = 0) {
        return ThumbnailRequest{source, page, rotation, side, side};
    }

    /// Lets events happen until the condition holds; false when it never did.
    bool wait(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(120);
        while (!condition()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            pollfd waiting{m_renderer->eventDescriptor(), POLLIN, 0};
            if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) <= 0) {
                return false;
            }
            m_renderer->processEvents();
        }
        return true;
    }

    /// The picture of a page, which must come; null otherwise.
    Picture drawn(const ThumbnailRequest& request) {
        if (m_renderer == nullptr) {
            start();
        }
        m_renderer->setWishes(m_requester, {{request}, {}});
        EXPECT_TRUE(wait([&] { return m_renderer->find(request) != nullptr; }));
        return m_renderer->find(request);
    }

    [[nodiscard]] bool hasArrived(const ThumbnailRequest& request) const {
        return std::ranges::find(m_arrived, request) != m_arrived.end();
    }

    static std::string stateOf(const Picture& picture) {
        if (picture == nullptr) {
            return "missing";
        }
        return picture->state == Thumbnail::State::drawn ? "drawn" : "undrawable";
    }

    /// What a place of a picture looks like, in thousandths of its sides.
    static std::string colourAt(const Picture& picture, unsigned x, unsigned y) {
        if (stateOf(picture) != "drawn") {
            return stateOf(picture);
        }
        const std::size_t column = std::size_t{picture->width} * x / 1000;
        const std::size_t row = std::size_t{picture->height} * y / 1000;
        const std::uint32_t pixel = picture->pixels[row * picture->width + column];
        const auto level = [pixel](unsigned shift) {
            const unsigned value = pixel >> shift & 0xffU;
            return value > 192 ? 2 : value > 64 ? 1 : 0;
        };
        static const std::map<std::vector<int>, std::string> names = {
            {{2, 0, 0}, "red"},   {{0, 2, 0}, "green"}, {{0, 0, 2}, "blue"}, {{2, 2, 0}, "yellow"},
            {{2, 2, 2}, "white"}, {{0, 0, 0}, "black"}, {{1, 1, 1}, "grey"}};
        const auto name = names.find({level(16), level(8), level(0)});
        return name != names.end() ? name->second : "another colour";
    }

    /// The colours of the corners in reading order, "red green blue yellow" for cornersPDF as it
    /// stands.
    static std::string corners(const Picture& picture) {
        return colourAt(picture, 100, 100) + " " + colourAt(picture, 899, 100) + " " +
               colourAt(picture, 100, 899) + " " + colourAt(picture, 899, 899);
    }

    /// One page whose quarters, of 100 by 50 points each, are red, green, blue and yellow in
    /// reading order. `entries` of the page, e.g. its /MediaBox.
    static tests::RawPDF cornersPDF(const std::string& entries) {
        return pagePDF(entries, "1 0 0 rg 0 50 100 50 re f 0 1 0 rg 100 50 100 50 re f "
                                "0 0 1 rg 0 0 100 50 re f 1 1 0 rg 100 0 100 50 re f");
    }

    static tests::RawPDF pagePDF(const std::string& entries, const std::string& content) {
        tests::RawPDF pdf;
        pdf.object(1, "<< /Type /Catalog /Pages 2 0 R >>")
            .object(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
            .object(3, "<< /Type /Page /Parent 2 0 R /Contents 4 0 R " + entries + " >>")
            .stream(4, "", content);
        return pdf;
    }

    /// A page that takes ages to draw, in a small file: forms within forms, each drawn many
    /// times.
    static tests::RawPDF endlessPDF() {
        constexpr int depth = 12;
        constexpr int firstForm = 10;
        tests::RawPDF pdf = pagePDF("/MediaBox [0 0 200 100] /Resources << /XObject << /F " +
                                        std::to_string(firstForm) + " 0 R >> >>",
                                    "/F Do");
        std::string calls;
        for (int i = 0; i < 20; ++i) {
            calls += "/F Do ";
        }
        for (int i = 0; i < depth; ++i) {
            pdf.stream(firstForm + i,
                       "/Type /XObject /Subtype /Form /BBox [0 0 200 100] /Resources << /XObject "
                       "<< /F " +
                           std::to_string(firstForm + i + 1) + " 0 R >> >>",
                       calls);
        }
        pdf.stream(firstForm + depth, "/Type /XObject /Subtype /Form /BBox [0 0 200 100]",
                   "0 0 10 10 re f");
        return pdf;
    }

    tests::TemporaryFolder m_folder;
    std::unique_ptr<ThumbnailRenderer> m_renderer;
    ThumbnailRenderer::Requester m_requester = 0;
    std::vector<ThumbnailRequest> m_arrived;
};

} // namespace quillorn
