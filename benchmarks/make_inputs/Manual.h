#pragma once

#include "PdfFile.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace bench {

/// Where a page's fonts and pictures are named.
enum class ResourcePlace {
    treeRoot,      ///< inherited from the page tree's root
    page,          ///< a dictionary inside each page
    objectPerPage, ///< an object of its own for each page
};

/// How links and outline entries name their target.
enum class TargetStyle {
    destination, ///< /Dest with the page itself
    action,      ///< a GoTo action with the page itself
    named,       ///< a GoTo action with a name, found in the catalog's name tree
};

struct ManualPlan {
    std::string title; ///< stands in the running head and the foot of each page
    int pages = 0;
    PdfLayout layout = PdfLayout::classic;
    int pageTreeFanOut = 0; ///< the number of pages, or more, makes a flat tree
    ResourcePlace resources = ResourcePlace::page;
    TargetStyle targets = TargetStyle::destination;
    int chapters = 0;           ///< first level of the outline
    int sectionsPerChapter = 0; ///< second level
    std::uint64_t seed = 0;
};

/// Writes a file built like a technical manual: some 500 words of justified text a page, shared
/// fonts with embedded font programs, now and then a figure, several links a page inside the file
/// and some to the web, an outline, and page labels (roman front matter, decimal body, "A-"
/// appendix).
///
/// The text is drawn in standard fonts, so it can be looked at. The embedded font programs are
/// noise of a realistic size: nothing is drawn with them, but whoever copies pages must copy them
/// once.
///
/// The foot of every page reads "TITLE - page N" (N from 1), by which a check can tell the order.
void writeManual(const std::filesystem::path& path, const ManualPlan& plan);

} // namespace bench
