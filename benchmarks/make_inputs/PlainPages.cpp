#include "PlainPages.h"

#include "PageTree.h"
#include "PdfFile.h"
#include "Prose.h"
#include "Random.h"

#include <string>

namespace bench {

void writePlainPages(const std::filesystem::path& path, int pages) {
    Random random(41); // the same seed for all siblings: they differ in length alone
    Prose prose(random);
    PdfFile file(path, PdfLayout::classic);
    const int font = file.add(
        "<< /Type /Font /Subtype /Type1 /BaseFont /Times-Roman /Encoding /WinAnsiEncoding >>");
    const PageTree tree(file, pages, 32);
    for (int i = 0; i < pages; ++i) {
        const int content = file.reserve();
        file.put(tree.page(i), "<< /Type /Page /Parent " + reference(tree.parentOf(i)) +
                                   " /Contents " + reference(content) + " >>");
        std::string text =
            "BT /F1 12 Tf 72 760 Td (Page " + std::to_string(i + 1) + ") Tj 0 -24 Td\n";
        text += justifiedLines(prose, random, 6, 450, 12, 15) + "ET\n";
        file.putFlateStream(content, "", text);
    }
    tree.write(file, "/MediaBox [0 0 595 842] /Resources << /Font << /F1 " + reference(font) +
                         " >> /ProcSet [/PDF /Text] >>");
    const int catalog = file.add("<< /Type /Catalog /Pages " + reference(tree.root()) + " >>");
    const int info = file.add("<< /Title " + literal("Plain pages") + " >>");
    file.finish(catalog, info);
}

} // namespace bench
