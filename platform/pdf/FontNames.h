#pragma once

#include <map>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>

namespace quillorn {

/// Whether two font resources draw the same: one object, or simple fonts that state the same
/// base font and the same encoding.
[[nodiscard]] bool isSameFont(QPDFObjectHandle a, QPDFObjectHandle b);

/// `name` with a number that `dictionary` does not hold yet.
[[nodiscard]] std::string freshName(QPDFObjectHandle dictionary, const std::string& name);

/// A default appearance string ("/Helv 12 Tf 0 g") with font names replaced as `renamed` says.
[[nodiscard]] std::string renameFonts(const std::string& appearance,
                                      const std::map<std::string, std::string>& renamed);

/// The name of the font that a default appearance string chooses, with its slash; empty when it
/// chooses none.
[[nodiscard]] std::string fontNameIn(const std::string& appearance);

/// `value` for use in another container: itself when indirect, else a copy.
[[nodiscard]] QPDFObjectHandle detached(QPDFObjectHandle value);

} // namespace quillorn
