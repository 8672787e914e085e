#include "tests/corpus/OpenedDocument.h"

namespace quillorn::corpus {

PDFResult<std::shared_ptr<const PDFSource>> openDocument(const Document& document) {
    auto source = PDFSource::open(document.file);
    for (const KnownPassword& password : document.passwords) {
        if (!source || !(*source)->isLocked()) {
            break;
        }
        auto unlocked = (*source)->unlocked(password.text);
        if (unlocked || unlocked.error().kind != PDFError::Kind::wrongPassword) {
            return unlocked;
        }
    }
    return source;
}

} // namespace quillorn::corpus
