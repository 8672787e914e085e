#pragma once

#include "support/CASObject.h"

#include <cstdint>

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): fontconfig's own name
struct _FcFontSet;

/// Style flags of a font.
inline constexpr uint32_t ASFontBold = 1;
inline constexpr uint32_t ASFontItalic = 2;
inline constexpr uint32_t ASFontUnderline = 4;
inline constexpr uint32_t ASFontStrikeThrough = 8;

/// PostScript name of the family's member with the bold and italic flags of `style`: the first
/// whose name says "BoldItalic", "Italic" without "Bold", or "Bold" without "Italic". `family`
/// itself without such flags or such a member. The text is never freed. Any thread.
const char* ASGetFontFullName(const char* family, uint32_t style);

// Description of a font: a plain value, compared and copied field by field.
//
//     CASFont title("DejaVu Serif");
//     title.size = 18;
//     title.style = ASFontBold | ASFontUnderline;
class CASFont {
public:
    /// "Lucida Grande", 10 points, opaque black, no style.
    CASFont();
    /// The name is cut at 127 bytes; null means empty.
    explicit CASFont(const char* fontName);
    CASFont(const CASFont&) = default;
    CASFont& operator=(const CASFont&) = default;
    bool operator==(const CASFont& other) const;

    /// ASGetFontFullName of the name and style.
    const char* GetFontFullName() const;

    char name[128] = {};         // family
    int32_t size = 10;           // points
    uint32_t color = 0xFF000000; // 0xAARRGGBB
    uint32_t style = 0;          // ASFont... flags
};

// The installed fonts, as they were when the object was made. One thread at a time.
class CASFontCollection : public CASObject {
public:
    CASFontCollection();
    ~CASFontCollection() override;
    CASFontCollection(const CASFontCollection&) = delete;
    CASFontCollection& operator=(const CASFontCollection&) = delete;
    using CASObject::operator=;

    int32_t GetSystemFontCount() const;
    /// PostScript name of a font, cut at 127 bytes; null for an index that does not exist. The
    /// object's own memory, overwritten by the next call.
    const char* GetSystemFontname(int32_t index);

private:
    friend struct SupportLayoutProbe;

    _FcFontSet* collection;
    char fontName[128] = {};
};
