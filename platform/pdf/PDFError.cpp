#include "platform/pdf/PDFError.h"

namespace quillorn {

PDFError PDFError::unreadable(const FileError& error) {
    return PDFError{Kind::unreadable, error.file, error.reason};
}

PDFError PDFError::cannotWrite(const FileError& error) {
    return PDFError{Kind::cannotWrite, error.file, error.reason};
}

} // namespace quillorn
