#include "platform/office/engine/InstalledFonts.h"

#include <algorithm>
#include <fontconfig/fontconfig.h>
#include <memory>
#include <set>
#include <string_view>

namespace quillorn::office {

namespace {

/// Names are compared without regard to case, as everywhere; only ASCII letters need that.
std::string folded(std::string_view name) {
    std::string text(name);
    std::ranges::transform(text, text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

std::set<std::string> installedFamilies() {
    const std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> all(FcPatternCreate(),
                                                                      &FcPatternDestroy);
    const std::unique_ptr<FcObjectSet, decltype(&FcObjectSetDestroy)> wanted(
        FcObjectSetBuild(FC_FAMILY, nullptr), &FcObjectSetDestroy);
    const std::unique_ptr<FcFontSet, decltype(&FcFontSetDestroy)> fonts(
        FcFontList(nullptr, all.get(), wanted.get()), &FcFontSetDestroy);
    std::set<std::string> families;
    for (int i = 0; fonts && i < fonts->nfont; ++i) {
        FcChar8* name = nullptr;
        for (int n = 0; FcPatternGetString(fonts->fonts[i], FC_FAMILY, n, &name) == FcResultMatch;
             ++n) {
            families.insert(folded(reinterpret_cast<const char*>(name)));
        }
    }
    return families;
}

} // namespace

bool isFontInstalled(const std::string& name) {
    static const std::set<std::string> families = installedFamilies();
    std::string_view rest = name;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(';'), rest.size());
        if (families.contains(folded(rest.substr(0, end)))) {
            return true;
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

} // namespace quillorn::office
