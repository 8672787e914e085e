#pragma once

#include <string>
#include <string_view>

/// Converts Mac Roman text; every byte has a character, so nothing can be invalid.
std::string ASMacRomanToUTF8(std::string_view text);
