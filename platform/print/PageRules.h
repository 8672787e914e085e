#pragma once

#include "platform/print/PrintInfo.h"

#include <set>
#include <string>
#include <string_view>

namespace quillorn {

/// The selectors of the "@page" rules in a style sheet, in any depth: "", ":first", "wide:left".
/// Comments and strings are passed over.
[[nodiscard]] std::set<std::string> pageSelectorsIn(std::string_view styleSheet);

/// A style sheet that gives the pages of all these selectors the margins of `info` and no size of
/// their own. Behind the page's own rules it wins over each of them, also important ones.
[[nodiscard]] std::string pageRules(const std::set<std::string>& selectors, const PrintInfo& info);

} // namespace quillorn
