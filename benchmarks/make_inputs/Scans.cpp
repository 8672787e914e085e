#include "Scans.h"

#include "PageTree.h"
#include "PdfFile.h"
#include "Random.h"
#include "ScannedPage.h"

#include <string>

namespace bench {

void writeScans(const std::filesystem::path& path, int pages, bool grey, int quality,
                std::uint64_t seed) {
    Random random(seed);
    PdfFile file(path, PdfLayout::classic);
    const PageTree tree(file, pages, pages);
    for (int i = 0; i < pages; ++i) {
        const int picture = file.reserve();
        file.putStream(picture,
                       "/Type /XObject /Subtype /Image /Width " + std::to_string(scanWidth) +
                           " /Height " + std::to_string(scanHeight) + " /ColorSpace " +
                           (grey ? "/DeviceGray" : "/DeviceRGB") +
                           " /BitsPerComponent 8 /Filter /DCTDecode",
                       scannedPageJpeg(random, grey, quality));
        const int content = file.reserve();
        file.putStream(content, "", "q 595 0 0 842 0 0 cm /Im0 Do Q\n");
        file.put(tree.page(i), "<< /Type /Page /Parent " + reference(tree.parentOf(i)) +
                                   " /MediaBox [0 0 595 842] /Resources << /XObject << /Im0 " +
                                   reference(picture) + " >> >> /Contents " + reference(content) +
                                   " >>");
    }
    tree.write(file, "");
    const int catalog = file.add("<< /Type /Catalog /Pages " + reference(tree.root()) + " >>");
    const int info = file.add("<< /Producer (An invented scanner) >>");
    file.finish(catalog, info);
}

} // namespace bench
