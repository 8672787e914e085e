#pragma once

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Actions and what follows them (ISO 32000-1, 12.6.2): /Next names an action or a list of
/// actions, each of which may have a /Next of its own. Chains of hostile files loop and branch
/// without end, so they are always dealt with as a bounded list.
struct ActionChain {
    std::vector<QPDFObjectHandle> actions; ///< dictionaries, in the order in which they are done
    bool complete = true;                  ///< nothing looped or was too long to be read to its end
};

[[nodiscard]] ActionChain actionChain(const QPDFObjectHandle& action);

/// Copies of `actions`, each followed by the next; the first of them, or null for none. Short
/// chains are direct objects; of a longer one, parts become objects of `document`, to which
/// `actions` must belong.
[[nodiscard]] QPDFObjectHandle chained(QPDF& document,
                                       const std::vector<QPDFObjectHandle>& actions);

[[nodiscard]] bool isGoTo(QPDFObjectHandle action);

} // namespace quillorn
