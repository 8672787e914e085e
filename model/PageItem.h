#pragma once

#include "model/PDFPageEx.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace quillorn {

/// The identifier of a page item from three draws of `rand()`: a/2 + b/6 - c/3, each division
/// truncating. The recipe is our own; it spreads over -715,827,882 to 1,431,655,764.
[[nodiscard]] std::int32_t pageItemIdentifier(int a, int b, int c);

/// What a browser shows for one PDF page: the page, and the file that it came from.
///
/// The three kinds below have the same shape and differ in the title. They are distinct types,
/// so that a list of the source pane cannot take an item of the output pane by mistake, and
/// share this base, so that the browser can ask either. An item shares its page object with the
/// document it came from; panes and the record of a drag share the item.
///
/// The accessors may be called from any thread: import fills items on its own thread. What they
/// return is a copy. The page object itself keeps its own rules (PDFPage.h).
class PageItem {
public:
    virtual ~PageItem() = default;
    PageItem(const PageItem&) = delete;
    PageItem& operator=(const PageItem&) = delete;

    /// How a browser is to draw `imageRepresentation`: always as a PDF page.
    static constexpr std::string_view imageBrowserPDFPageRepresentationType =
        "IKImageBrowserPDFPageRepresentationType";

    /// The random identifier as decimal text, with a minus sign when negative. Nobody checks
    /// for collisions: two items that drew the same value share it.
    [[nodiscard]] std::string imageUID() const;
    [[nodiscard]] static std::string_view imageRepresentationType() {
        return imageBrowserPDFPageRepresentationType;
    }
    [[nodiscard]] std::shared_ptr<PDFPageEx> imageRepresentation() const { return page(); }
    /// The text under the thumbnail.
    [[nodiscard]] virtual std::string imageTitle() const = 0;

    [[nodiscard]] std::shared_ptr<PDFPageEx> page() const;
    void setPage(std::shared_ptr<PDFPageEx> page);
    [[nodiscard]] std::string filename() const;
    void setFilename(std::string filename);
    [[nodiscard]] std::string imagePath() const;
    /// Leaves the file name as it is: only a new item derives it from the path.
    void setImagePath(std::string imagePath);

protected:
    /// `path` is the full path of the file (or an output group's name), whose last component
    /// becomes the file name; `pagePDF` is shared, not copied, and may be null.
    PageItem(std::string path, std::shared_ptr<PDFPageEx> pagePDF);

    /// The page's label; empty without a page.
    [[nodiscard]] std::string pageLabel() const;

private:
    mutable std::mutex m_mutex; ///< guards the three members that can be set
    std::string m_imagePath;
    std::string m_filename;
    std::shared_ptr<PDFPageEx> m_page;
    const std::int32_t m_demo; ///< the random identifier
};

/// A page of the source pane, titled by its label.
class ImageItemFir final : public PageItem {
public:
    ImageItemFir(std::string path, std::shared_ptr<PDFPageEx> pagePDF)
        : PageItem(std::move(path), std::move(pagePDF)) {}
    [[nodiscard]] std::string imageTitle() const override { return pageLabel(); }
};

/// A page of the output pane, titled by its label.
class ImageItemSec final : public PageItem {
public:
    ImageItemSec(std::string path, std::shared_ptr<PDFPageEx> pagePDF)
        : PageItem(std::move(path), std::move(pagePDF)) {}
    [[nodiscard]] std::string imageTitle() const override { return pageLabel(); }
};

/// The placeholder that stands in an output group without pages. Its page is a picture only,
/// so its title says "blank" whatever the page's label is.
class blankItem final : public PageItem {
public:
    blankItem(std::string path, std::shared_ptr<PDFPageEx> pagePDF)
        : PageItem(std::move(path), std::move(pagePDF)) {}
    [[nodiscard]] std::string imageTitle() const override { return "blank"; }
};

} // namespace quillorn
