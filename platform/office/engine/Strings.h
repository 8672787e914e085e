#pragma once

#include <rtl/ustring.hxx>
#include <string>

namespace quillorn::office {

/// UTF-8 for UNO.
[[nodiscard]] inline rtl::OUString unoText(const std::string& text) {
    return rtl::OStringToOUString(rtl::OString(text.data(), static_cast<sal_Int32>(text.size())),
                                  RTL_TEXTENCODING_UTF8);
}

/// UTF-8 out of UNO.
[[nodiscard]] inline std::string plainText(const rtl::OUString& text) {
    return rtl::OUStringToOString(text, RTL_TEXTENCODING_UTF8).getStr();
}

/// The address of a local file. `path` is absolute and holds no characters that addresses escape.
[[nodiscard]] inline rtl::OUString fileURL(const std::string& path) {
    return unoText("file://" + path);
}

} // namespace quillorn::office
