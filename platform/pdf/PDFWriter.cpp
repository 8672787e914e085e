#include "platform/pdf/PDFWriter.h"

#include "platform/pdf/WriteJob.h"

namespace quillorn {

PDFResult<PDFWriteReport> writePDF(const std::vector<PDFPageReference>& pages,
                                   const std::filesystem::path& target,
                                   const PDFWriteOptions& options) {
    return WriteJob(pages, options).run(target);
}

} // namespace quillorn
