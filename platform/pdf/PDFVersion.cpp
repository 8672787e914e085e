#include "platform/pdf/PDFVersion.h"

#include <cctype>

namespace quillorn {

PDFVersion PDFVersion::parse(std::string_view text) {
    PDFVersion version;
    if (text.size() >= 3 && std::isdigit(static_cast<unsigned char>(text[0])) != 0 &&
        text[1] == '.' && std::isdigit(static_cast<unsigned char>(text[2])) != 0) {
        version.major = text[0] - '0';
        version.minor = text[2] - '0';
    }
    return version;
}

} // namespace quillorn
