#include "import/ImportRefusal.h"

#include "model/FileNames.h"

#include <utility>

namespace quillorn {

namespace {

std::string_view messageOf(ImportRefusal::Kind kind) {
    switch (kind) {
    case ImportRefusal::Kind::encrypted:
        return import_message::encrypted;
    case ImportRefusal::Kind::wrongPassword:
        return import_message::wrongPassword;
    case ImportRefusal::Kind::notLegal:
    case ImportRefusal::Kind::needsConverter:
        break;
    }
    return import_message::notLegal;
}

} // namespace

ImportRefusal ImportRefusal::make(Kind kind, const std::string& path, std::string reason) {
    return ImportRefusal{kind, path, messageText(messageOf(kind), lastPathComponent(path)),
                         std::move(reason)};
}

ImportRefusal ImportRefusal::fromError(const std::string& path, const PDFError& error) {
    const Kind kind = error.kind == PDFError::Kind::wrongPassword ? Kind::wrongPassword
                      : error.kind == PDFError::Kind::locked      ? Kind::encrypted
                                                                  : Kind::notLegal;
    return make(kind, path, error.reason);
}

bool ImportRefusal::isSilentInWindow() const {
    return kind == Kind::notLegal && (hasExtension(path, "html") || hasExtension(path, "htm") ||
                                      hasExtension(path, "webarchive"));
}

} // namespace quillorn
