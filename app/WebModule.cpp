#include "import/HTMtoPDF.h"

#include <memory>

/// What WebConversion.cpp looks up by name. The caller owns the answer.
extern "C" quillorn::HTMLConverter*
quillornOpenHTMLConverter(const quillorn::HTMLConverter::Options* options) {
    return std::make_unique<quillorn::WebPageConverter>(*options).release();
}
