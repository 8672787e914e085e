#include "platform/pdf/TreeEntries.h"

#include <set>
#include <vector>

namespace quillorn {

bool forEachTreeEntry(const QPDFObjectHandle& root, const char* leafKey, std::size_t entryLimit,
                      const std::function<bool(QPDFObjectHandle, QPDFObjectHandle)>& visit) {
    std::vector<QPDFObjectHandle> pending{root};
    std::set<QPDFObjGen> seen;
    bool complete = true;
    const auto isNew = [&seen, &complete](QPDFObjectHandle object) {
        const bool fresh = !object.isIndirect() || seen.insert(object.getObjGen()).second;
        complete = complete && fresh;
        return fresh;
    };
    std::size_t visited = 0;
    while (!pending.empty()) {
        QPDFObjectHandle node = pending.back();
        pending.pop_back();
        if (!node.isDictionary() || !isNew(node)) {
            continue;
        }
        if (QPDFObjectHandle entries = node.getKey(leafKey); entries.isArray() && isNew(entries)) {
            const std::vector<QPDFObjectHandle> items = entries.getArrayAsVector();
            for (std::size_t i = 0; i + 1 < items.size(); i += 2) {
                if (++visited > entryLimit) {
                    return false;
                }
                if (!visit(items[i], items[i + 1])) {
                    return complete;
                }
            }
        }
        if (QPDFObjectHandle kids = node.getKey("/Kids"); kids.isArray() && isNew(kids)) {
            const std::vector<QPDFObjectHandle> items = kids.getArrayAsVector();
            if (pending.size() + items.size() > entryLimit) {
                return false;
            }
            pending.insert(pending.end(), items.rbegin(), items.rend());
        }
    }
    return complete;
}

} // namespace quillorn
