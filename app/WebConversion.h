#pragma once

#include "import/HTMLConverter.h"
#include "platform/files/FileError.h"

#include <memory>

namespace quillorn {

/// Opens a converter of web pages (HTMtoPDF.h) through the module "quillorn-web.so", which stands
/// beside the program: most commands meet no web page and need none of what it is made of. The
/// web engine itself is started by the first conversion and ended with the converter.
///
/// The module stays loaded. Any thread. The error names the module when it is missing.
[[nodiscard]] FileResult<std::unique_ptr<HTMLConverter>>
openHTMLConverter(const HTMLConverter::Options& options);

} // namespace quillorn
