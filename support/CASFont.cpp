#include "support/CASFont.h"

#include "support/detail/FontTable.h"
#include "support/detail/MutexLock.h"

#include <fontconfig/fontconfig.h>
#include <pthread.h>

#include <cstring>
#include <set>
#include <string>

namespace {

// Names handed out stay valid for the process; there are only as many as installed fonts.
struct NameTable {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    std::set<std::string> names;
};

const char* KeepName(const std::string& name) {
    static NameTable table;
    const ASMutexLock lock(table.mutex);
    return table.names.insert(name).first->c_str();
}

} // namespace

const char* ASGetFontFullName(const char* family, uint32_t style) {
    const bool bold = (style & ASFontBold) != 0;
    const bool italic = (style & ASFontItalic) != 0;
    if (family == nullptr || (!bold && !italic))
        return family;
    const char* wanted = bold && italic ? "BoldItalic" : bold ? "Bold" : "Italic";
    const char* excluded = bold && italic ? nullptr : bold ? "Italic" : "Bold";
    for (const std::string& member : ASFontFamilyMembers(family)) {
        const bool ruledOut = excluded != nullptr && member.find(excluded) != std::string::npos;
        if (member.find(wanted) != std::string::npos && !ruledOut)
            return KeepName(member);
    }
    return family;
}

CASFont::CASFont() : CASFont("Lucida Grande") {}

CASFont::CASFont(const char* fontName) {
    if (fontName != nullptr)
        std::strncpy(name, fontName, sizeof name - 1);
}

bool CASFont::operator==(const CASFont& other) const {
    return std::strncmp(name, other.name, sizeof name) == 0 && size == other.size &&
           color == other.color && style == other.style;
}

const char* CASFont::GetFontFullName() const {
    return ASGetFontFullName(name, style);
}

CASFontCollection::CASFontCollection() : collection(ASInstalledFonts()) {}

CASFontCollection::~CASFontCollection() {
    if (collection != nullptr)
        FcFontSetDestroy(collection);
}

int32_t CASFontCollection::GetSystemFontCount() const {
    return collection == nullptr ? 0 : collection->nfont;
}

const char* CASFontCollection::GetSystemFontname(int32_t index) {
    if (index < 0 || index >= GetSystemFontCount())
        return nullptr;
    FcChar8* name = nullptr;
    if (FcPatternGetString(collection->fonts[index], FC_POSTSCRIPT_NAME, 0, &name) != FcResultMatch)
        return nullptr;
    std::memset(fontName, 0, sizeof fontName);
    std::strncpy(fontName, reinterpret_cast<const char*>(name), sizeof fontName - 1);
    return fontName;
}
