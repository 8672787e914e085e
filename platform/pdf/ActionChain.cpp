#include "platform/pdf/ActionChain.h"

#include <algorithm>
#include <cstddef>
#include <set>

namespace quillorn {

namespace {

/// Far longer than any that a person made. Thousands of links may share one, so it is not larger.
constexpr std::size_t longestChain = 64;

constexpr std::size_t deepestDirect = 16;

} // namespace

ActionChain actionChain(const QPDFObjectHandle& action) {
    ActionChain chain;
    std::set<QPDFObjGen> seen;
    std::vector<QPDFObjectHandle> pending{action};
    while (!pending.empty()) {
        QPDFObjectHandle current = pending.back();
        pending.pop_back();
        if (!current.isDictionary()) {
            continue;
        }
        const bool isNew = !current.isIndirect() || seen.insert(current.getObjGen()).second;
        if (!isNew || chain.actions.size() == longestChain) {
            chain.complete = false;
            continue;
        }
        chain.actions.push_back(current);
        QPDFObjectHandle next = current.getKey("/Next");
        if (!next.isArray()) {
            pending.push_back(next);
            continue;
        }
        const auto items = static_cast<std::size_t>(next.getArrayNItems());
        const std::size_t taken =
            std::min(items, longestChain - std::min(longestChain, pending.size()));
        chain.complete = chain.complete && taken == items;
        for (std::size_t i = taken; i > 0; --i) {
            pending.push_back(next.getArrayItem(static_cast<int>(i) - 1));
        }
    }
    return chain;
}

QPDFObjectHandle chained(QPDF& document, const std::vector<QPDFObjectHandle>& actions) {
    QPDFObjectHandle next = QPDFObjectHandle::newNull();
    std::size_t depth = 0;
    for (auto action = actions.rbegin(); action != actions.rend(); ++action) {
        QPDFObjectHandle copy = QPDFObjectHandle(*action).shallowCopy();
        if (next.isNull()) {
            copy.removeKey("/Next");
        } else {
            copy.replaceKey("/Next", next);
        }
        // Direct objects within direct objects are not read back to any depth.
        const bool deep = ++depth % deepestDirect == 0;
        next = deep ? document.makeIndirectObject(copy) : copy;
    }
    return next;
}

bool isGoTo(QPDFObjectHandle action) {
    return action.getKeyIfDict("/S").isNameAndEquals("/GoTo");
}

} // namespace quillorn
