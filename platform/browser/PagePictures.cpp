#include "platform/browser/PagePictures.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace quillorn {

namespace {

/// What most pages are: a page of DIN A format, upright.
constexpr double usualWidth = 595;
constexpr double usualHeight = 842;

/// The panes of a window share its screen and the room for pictures.
constexpr std::size_t viewersWithRoom = 2;

bool isOnItsSide(int rotation) {
    return rotation % 180 != 0;
}

ThumbnailRequest requestOf(const PDFPage& page, QSize frame) {
    return ThumbnailRequest::of(page.reference(),
                                static_cast<std::uint32_t>(std::max(frame.width(), 0)),
                                static_cast<std::uint32_t>(std::max(frame.height(), 0)));
}

} // namespace

QImage PagePicture::image() const {
    if (thumbnail == nullptr || thumbnail->pixels.empty()) {
        return {};
    }
    return QImage(reinterpret_cast<const uchar*>(thumbnail->pixels.data()),
                  static_cast<int>(thumbnail->width), static_cast<int>(thumbnail->height),
                  QImage::Format_RGB32);
}

PagePictures::PagePictures(const std::filesystem::path& worker, const ThumbnailLimits& limits)
    : m_room(limits.cacheBytes / viewersWithRoom),
      m_renderer(worker, limits),
      m_notifier(m_renderer.eventDescriptor(), QSocketNotifier::Read) {
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                     [this] { m_renderer.processEvents(); });
}

PagePictures::Viewer PagePictures::addViewer(std::function<void()> arrived) {
    return m_renderer.addRequester(
        [this, arrived = std::move(arrived)](const ThumbnailRequest& request) {
            this->arrived(request);
            arrived();
        });
}

void PagePictures::removeViewer(Viewer viewer) {
    m_renderer.removeRequester(viewer);
}

void PagePictures::arrived(const ThumbnailRequest& request) {
    const auto thumbnail = m_renderer.find(request);
    if (thumbnail == nullptr || thumbnail->state != Thumbnail::State::drawn) {
        return;
    }
    QSizeF shape(thumbnail->width, thumbnail->height);
    if (isOnItsSide(request.rotation)) {
        shape.transpose();
    }
    std::erase_if(m_shapes, [](const auto& entry) { return entry.first.expired(); });
    m_shapes.insert_or_assign(request.source, shape);
}

QSizeF PagePictures::guessedSize(const PDFPage& page, QSize frame) const {
    const PDFPageReference& reference = page.reference();
    QSizeF size(usualWidth, usualHeight);
    if (reference.source == nullptr && reference.blankSize.width > 0 &&
        reference.blankSize.height > 0) {
        size = QSizeF(reference.blankSize.width, reference.blankSize.height);
    } else if (const auto known = m_shapes.find(reference.source); known != m_shapes.end()) {
        size = known->second;
    }
    if (isOnItsSide(requestOf(page, frame).rotation)) {
        size.transpose();
    }
    return size.scaled(frame, Qt::KeepAspectRatio);
}

PagePicture PagePictures::find(const PDFPage& page, QSize frame) {
    PagePicture picture;
    picture.size = guessedSize(page, frame);
    if (page.reference().source == nullptr) {
        picture.state = PagePicture::State::drawn; // an empty sheet
        return picture;
    }
    const ThumbnailRequest request = requestOf(page, frame);
    const auto exact = m_renderer.find(request);
    picture.thumbnail = exact != nullptr ? exact : m_renderer.findNearest(request);
    if (picture.thumbnail == nullptr) {
        return picture;
    }
    if (picture.thumbnail->state == Thumbnail::State::undrawable) {
        picture.state = PagePicture::State::undrawable;
        picture.thumbnail.reset();
        return picture;
    }
    picture.size = QSizeF(picture.thumbnail->width, picture.thumbnail->height);
    if (exact != nullptr) {
        picture.state = PagePicture::State::drawn;
    } else {
        picture.size.scale(frame, Qt::KeepAspectRatio);
    }
    return picture;
}

void PagePictures::setWishes(Viewer viewer, const std::vector<const PDFPage*>& visible,
                             const std::vector<const PDFPage*>& near, QSize frame) {
    const auto requests = [frame](const std::vector<const PDFPage*>& pages) {
        std::vector<ThumbnailRequest> all;
        for (const PDFPage* const page : pages) {
            if (page->reference().source != nullptr) {
                all.push_back(requestOf(*page, frame));
            }
        }
        return all;
    };
    ThumbnailWishes wishes{requests(visible), requests(near)};
    // What comes in last would drive out what is shown.
    const std::size_t bytes = std::max<std::size_t>(
        static_cast<std::size_t>(std::max(frame.width(), 0)) *
            static_cast<std::size_t>(std::max(frame.height(), 0)) * sizeof(std::uint32_t),
        1);
    const std::size_t places = m_room / bytes;
    wishes.near.resize(
        std::min(wishes.near.size(), places - std::min(places, wishes.visible.size())));
    m_renderer.setWishes(viewer, wishes);
}

} // namespace quillorn
