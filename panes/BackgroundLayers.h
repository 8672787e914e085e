#pragma once

#include "platform/browser/ImageBrowser.h"
#include "platform/ui/Resources.h"

#include <QImage>
#include <string_view>

namespace quillorn {

/// The colour behind the cells of both panes, a pale blue.
inline constexpr BrowserColor paneBackgroundColor{231.0F / 255, 237.0F / 255, 246.0F / 255};

/// Fills the visible part of a browser with one colour.
class ColorLayer final : public BrowserLayer {
public:
    /// `owner` outlives the layer.
    ColorLayer(const BrowserColor& color, const ImageBrowser& owner)
        : m_color(color), m_owner(owner) {}
    void drawInContext(QPainter& painter) override;

private:
    BrowserColor m_color;
    const ImageBrowser& m_owner;
};

/// A picture over a pane that is still empty: once, one image pixel for one logical pixel, in the
/// middle of the visible width and 125 pixels below its top, wherever one has scrolled to. In a
/// pane that is too narrow both its sides are cut alike; in one that is not higher than the
/// distance there is no picture.
class PictureLayer : public BrowserLayer {
public:
    [[nodiscard]] const ImageBrowser* owner() const { return m_owner; }
    /// Not owned. Without an owner nothing is drawn.
    void setOwner(const ImageBrowser* owner) { m_owner = owner; }
    void drawInContext(QPainter& painter) override;

protected:
    /// Null when there is none.
    [[nodiscard]] virtual QImage picture() const = 0;

private:
    const ImageBrowser* m_owner = nullptr;
};

/// The picture of the empty source pane.
class ImageBrowserBackgroundLayerFir final : public PictureLayer {
protected:
    [[nodiscard]] QImage picture() const override;
};

/// The picture of the empty output pane.
class ImageBrowserBackgroundLayerSec final : public PictureLayer {
protected:
    [[nodiscard]] QImage picture() const override;
};

/// The picture in the resource `name` ("Fir_Image.png"); null without such a resource, and for
/// one that is no picture.
[[nodiscard]] QImage createImageWithName(std::string_view name,
                                         const Resources& resources = Resources::ofProgram());

/// The panes' pictures, "Fir_Image.png" and "Sec_Image.png": loaded once and kept. After a failure
/// the next call tries again. By the thread of the window.
[[nodiscard]] QImage backgroundImageFir();
[[nodiscard]] QImage backgroundImageSec();

} // namespace quillorn
