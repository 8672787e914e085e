#include "support/detail/FontTable.h"

#include "support/detail/MutexLock.h"

#include <cairo-ft.h>
#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <string_view>
#include <tuple>

namespace {

struct PatternDestroy {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using Pattern = std::unique_ptr<FcPattern, PatternDestroy>;

struct FontSetDestroy {
    void operator()(FcFontSet* fonts) const { FcFontSetDestroy(fonts); }
};
using FontSet = std::unique_ptr<FcFontSet, FontSetDestroy>;

struct ObjectSetDestroy {
    void operator()(FcObjectSet* objects) const { FcObjectSetDestroy(objects); }
};

const FcChar8* Text(const char* text) {
    return reinterpret_cast<const FcChar8*>(text);
}

std::string_view PostScriptName(const FcPattern* pattern) {
    FcChar8* name = nullptr;
    if (FcPatternGetString(pattern, FC_POSTSCRIPT_NAME, 0, &name) != FcResultMatch)
        return {};
    return reinterpret_cast<const char*>(name);
}

int Number(const FcPattern* pattern, const char* object) {
    int value = 0;
    FcPatternGetInteger(pattern, object, 0, &value);
    return value;
}

// Fonts whose `object` is `value`, or all fonts for a null object.
FontSet ListFonts(const char* object, const char* value) {
    const Pattern pattern(FcPatternCreate());
    if (object != nullptr)
        FcPatternAddString(pattern.get(), object, Text(value));
    const std::unique_ptr<FcObjectSet, ObjectSetDestroy> objects(
        FcObjectSetBuild(FC_FAMILY, FC_POSTSCRIPT_NAME, FC_WEIGHT, FC_SLANT, FC_WIDTH, FC_FILE,
                         FC_INDEX, FC_VARIABLE, nullptr));
    return FontSet(FcFontList(nullptr, pattern.get(), objects.get()));
}

template <typename Less>
void SortFonts(FcFontSet& fonts, Less less) {
    std::stable_sort(fonts.fonts, fonts.fonts + fonts.nfont, less);
}

cairo_font_face_t* MakeFace(const std::string& name) {
    for (const char* object : {FC_POSTSCRIPT_NAME, FC_FULLNAME}) {
        const FontSet exact = ListFonts(object, name.c_str());
        if (exact != nullptr && exact->nfont > 0)
            return cairo_ft_font_face_create_for_pattern(exact->fonts[0]);
    }
    const Pattern wanted(FcPatternCreate());
    FcPatternAddString(wanted.get(), FC_FAMILY, Text(name.c_str()));
    FcConfigSubstitute(nullptr, wanted.get(), FcMatchPattern);
    FcDefaultSubstitute(wanted.get());
    FcResult result = FcResultNoMatch;
    const Pattern nearest(FcFontMatch(nullptr, wanted.get(), &result));
    if (nearest != nullptr)
        return cairo_ft_font_face_create_for_pattern(nearest.get());
    return cairo_toy_font_face_create("sans-serif", CAIRO_FONT_SLANT_NORMAL,
                                      CAIRO_FONT_WEIGHT_NORMAL);
}

struct FaceDestroy {
    void operator()(cairo_font_face_t* face) const { cairo_font_face_destroy(face); }
};

struct FaceTable {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    std::map<std::string, std::unique_ptr<cairo_font_face_t, FaceDestroy>> faces;
};

} // namespace

std::vector<std::string> ASFontFamilyMembers(const char* family) {
    const FontSet fonts = ListFonts(FC_FAMILY, family);
    if (fonts == nullptr)
        return {};
    SortFonts(*fonts, [](const FcPattern* left, const FcPattern* right) {
        const auto rank = [](const FcPattern* font) {
            const int fromNormalWidth = std::abs(Number(font, FC_WIDTH) - FC_WIDTH_NORMAL);
            return std::tuple(fromNormalWidth, Number(font, FC_WEIGHT), Number(font, FC_SLANT),
                              PostScriptName(font));
        };
        return rank(left) < rank(right);
    });
    std::vector<std::string> names;
    for (int i = 0; i < fonts->nfont; ++i) {
        const std::string_view name = PostScriptName(fonts->fonts[i]);
        if (!name.empty())
            names.emplace_back(name);
    }
    return names;
}

_FcFontSet* ASInstalledFonts() {
    FontSet listed = ListFonts(nullptr, nullptr);
    FontSet named(FcFontSetCreate());
    if (listed == nullptr || named == nullptr)
        return nullptr;
    for (int i = 0; i < listed->nfont; ++i) {
        FcPattern* font = listed->fonts[i];
        if (PostScriptName(font).empty())
            continue;
        FcPatternReference(font);
        FcFontSetAdd(named.get(), font);
    }
    SortFonts(*named, [](const FcPattern* left, const FcPattern* right) {
        return PostScriptName(left) < PostScriptName(right);
    });
    return named.release();
}

_cairo_font_face* ASFontFace(const std::string& name) {
    static FaceTable table;
    const ASMutexLock lock(table.mutex);
    auto& face = table.faces[name];
    if (face == nullptr)
        face.reset(MakeFace(name));
    return face.get();
}
