#pragma once

#include "platform/pdf/PDFPage.h"
#include "platform/render/ThumbnailRenderer.h"

#include <QImage>
#include <QSize>
#include <QSizeF>
#include <QSocketNotifier>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace quillorn {

/// What can be shown of a page right now.
struct PagePicture {
    enum class State {
        drawn,
        waiting, ///< shown by its outline, or by a picture of another size
        undrawable
    };

    State state = State::waiting;
    QSizeF size; ///< device pixels, in the frame that was asked for; a guess until it is known
    std::shared_ptr<const Thumbnail> thumbnail; ///< null when there is nothing to show yet

    /// The pixels; no copy, so not to be kept longer than this. Null without a thumbnail.
    [[nodiscard]] QImage image() const;
};

/// Pictures of pages for the widgets of a window: the thumbnail renderer behind Qt's event loop.
/// Shared by all of them, so that they share its memory and its processes. Belongs to the thread
/// of the window.
class PagePictures {
public:
    using Viewer = ThumbnailRenderer::Requester;

    /// `worker` is the file of the program that draws.
    explicit PagePictures(const std::filesystem::path& worker, const ThumbnailLimits& limits = {});
    PagePictures(const PagePictures&) = delete;
    PagePictures& operator=(const PagePictures&) = delete;

    /// `arrived` is called when some picture came in.
    [[nodiscard]] Viewer addViewer(std::function<void()> arrived);
    void removeViewer(Viewer viewer);

    /// The frame is in device pixels.
    [[nodiscard]] PagePicture find(const PDFPage& page, QSize frame);
    /// What a viewer shows, and what it may show next. Replaces what it wished before. Of what may
    /// be shown next, only as much is drawn as there is room for beside what is shown.
    void setWishes(Viewer viewer, const std::vector<const PDFPage*>& visible,
                   const std::vector<const PDFPage*>& near, QSize frame);

    [[nodiscard]] const ThumbnailRenderer& renderer() const { return m_renderer; }

private:
    using Shapes = std::map<std::weak_ptr<const PDFSource>, QSizeF, std::owner_less<>>;

    [[nodiscard]] QSizeF guessedSize(const PDFPage& page, QSize frame) const;
    void arrived(const ThumbnailRequest& request);

    std::size_t m_room; ///< bytes of pictures that a viewer may fill
    ThumbnailRenderer m_renderer;
    QSocketNotifier m_notifier;
    Shapes m_shapes; ///< of the last page seen of each source, as it stands there
};

} // namespace quillorn
