#pragma once

#include <span>
#include <string>
#include <string_view>

namespace quillorn {

/// How a file becomes PDF pages.
enum class FileRoute {
    image,    ///< image2PDF
    html,     ///< html2PDF
    richText, ///< rtf2PDF
    word,     ///< doc2PDF
    pdf,      ///< opened as it is; a folder contributes its entries (`filesToOpen`)
    notLegal  ///< refused
};

/// Extensions that the open panel offers, in this order.
[[nodiscard]] std::span<const std::string_view> openPanelTypes();

/// Extensions of everything that may be dropped on the source pane.
[[nodiscard]] std::span<const std::string_view> dropTypes();

/// Whether the file is an image that can be turned into pages, by its extension in any case; PDF
/// is none. For a file without an extension its first bytes speak. A file whose information
/// cannot be read is no image. Whether an image by name is one by content, converting it shows.
[[nodiscard]] bool isImageFile(const std::string& path);

/// The route of a file chosen in the open panel. Whatever has no route of its own is opened as a
/// PDF, so this never answers `notLegal`. Word documents take the rich-text route here while
/// dropped ones do not; that difference is meant.
[[nodiscard]] FileRoute openPanelRoute(const std::string& path);

/// The route of a file dropped on the source pane; `notLegal` ends the drop.
[[nodiscard]] FileRoute dropRoute(const std::string& path);

/// The route of a file named on the command line, which takes what either of the two others
/// takes: a dropped file's route, and whatever that one refuses is opened as a PDF. A Word
/// document, which somebody chose by its name, takes the open panel's route, which is the better.
[[nodiscard]] FileRoute commandLineRoute(const std::string& path);

} // namespace quillorn
