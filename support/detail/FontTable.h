#pragma once

#include <string>
#include <vector>

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): cairo's own name
struct _cairo_font_face;
// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): fontconfig's own name
struct _FcFontSet;

/// PostScript names of a family's members: normal widths first, then the lightest and most upright.
/// Any thread.
std::vector<std::string> ASFontFamilyMembers(const char* family);

/// All installed fonts that name themselves, in the order of their PostScript names; the caller
/// frees it with FcFontSetDestroy. Null without memory.
_FcFontSet* ASInstalledFonts();

/// The face for a PostScript name, full name or family; the nearest installed one for an unknown
/// name. Never null; stays the table's own. Any thread.
_cairo_font_face* ASFontFace(const std::string& name);
