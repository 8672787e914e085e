#pragma once

namespace quillorn {

/// Width and height in points (1/72 inch).
struct PDFSize {
    double width = 0;
    double height = 0;
    bool operator==(const PDFSize&) const = default;
};

/// A rectangle in a page's user space, in default user units, with left <= right and
/// bottom <= top whatever the order in the file.
struct PDFBox {
    double left = 0;
    double bottom = 0;
    double right = 0;
    double top = 0;
    bool operator==(const PDFBox&) const = default;

    [[nodiscard]] double width() const { return right - left; }
    [[nodiscard]] double height() const { return top - bottom; }
};

/// The boxes of a page (ISO 32000-1, 14.11.2). A box that the page does not state has the
/// standard's default: the crop box is the media box, the others are the crop box.
struct PDFPageGeometry {
    PDFBox mediaBox{0, 0, 612, 792};
    PDFBox cropBox;
    PDFBox bleedBox;
    PDFBox trimBox;
    PDFBox artBox;
    int rotation = 0;    ///< degrees clockwise, as stated in the file (inherited included)
    double userUnit = 1; ///< points a user unit
    bool operator==(const PDFPageGeometry&) const = default;

    /// The page as it is seen: the part of the crop box inside the media box, turned by
    /// `rotation`, in points. A crop box that misses the media box counts as the media box.
    [[nodiscard]] PDFSize displaySize() const;
};

} // namespace quillorn
