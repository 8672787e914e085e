#include "app/ProgramConversions.h"

#include "import/FileRoute.h"
#include "import/ImageConverter.h"
#include "platform/imaging/ImageReader.h"

namespace quillorn {

namespace {

ImportResult<std::string> refused(const std::string& path, FileRoute route) {
    return tl::unexpected(ImportRefusal::make(ImportRefusal::Kind::needsConverter, path,
                                              std::string(missingConverterReason(route))));
}

} // namespace

ImportResult<std::string> ProgramConversions::image2PDF(const std::string& path,
                                                        const std::stop_token& stop) {
    const ImageConverter converter(ImageReader(m_workerFolder), m_cacheFolder);
    return converter.image2PDF(path, stop);
}

ImportResult<std::string> ProgramConversions::html2PDF(const std::string& path,
                                                       const std::stop_token& /*stop*/) {
    return refused(path, FileRoute::html);
}

ImportResult<std::string> ProgramConversions::rtf2PDF(const std::string& path,
                                                      const std::stop_token& /*stop*/) {
    return refused(path, FileRoute::richText);
}

ImportResult<std::string> ProgramConversions::doc2PDF(const std::string& path,
                                                      const std::stop_token& /*stop*/) {
    return refused(path, FileRoute::word);
}

} // namespace quillorn
