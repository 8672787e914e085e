#pragma once

#include "platform/print/PrintInfo.h"

#include <optional>
#include <string>
#include <string_view>

namespace quillorn {

/// A style sheet whose "@page" rules, at any depth, mean nothing any more; nothing when it has
/// none. Comments and strings stay as they are.
///
/// Taking away rather than overriding: a rule for some pages only, or an important one in a
/// layer, would win over any of ours. Headers and footers that such rules draw go, too: they
/// would stand in our margins.
[[nodiscard]] std::optional<std::string> withoutPageRules(std::string_view styleSheet);

/// A style sheet that gives all pages the margins of `info` and no size of their own.
[[nodiscard]] std::string pageRules(const PrintInfo& info);

} // namespace quillorn
