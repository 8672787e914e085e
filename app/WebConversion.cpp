#include "app/WebConversion.h"

#include "app/ProgramModule.h"

#include <utility>

namespace quillorn {

FileResult<std::unique_ptr<HTMLConverter>>
openHTMLConverter(const HTMLConverter::Options& options) {
    auto function = functionInModule("quillorn-web.so", "quillornOpenHTMLConverter");
    if (!function) {
        return tl::unexpected(std::move(function.error()));
    }
    const auto open =
        reinterpret_cast<HTMLConverter* (*)(const HTMLConverter::Options*)>(*function);
    return std::unique_ptr<HTMLConverter>(open(&options));
}

} // namespace quillorn
