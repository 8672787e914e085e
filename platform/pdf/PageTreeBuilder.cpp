#include "platform/pdf/PageTreeBuilder.h"

#include <algorithm>
#include <cstddef>

namespace quillorn {

namespace {

constexpr std::size_t childrenPerNode = 64;

struct Branch {
    QPDFObjectHandle object;
    long long pageCount;
};

QPDFObjectHandle makeNode(QPDF& document, std::vector<Branch>::iterator first,
                          std::vector<Branch>::iterator last, long long& pageCount) {
    QPDFObjectHandle node = document.makeIndirectObject(QPDFObjectHandle::newDictionary());
    std::vector<QPDFObjectHandle> kids;
    pageCount = 0;
    for (auto branch = first; branch != last; ++branch) {
        branch->object.replaceKey("/Parent", node);
        kids.push_back(branch->object);
        pageCount += branch->pageCount;
    }
    node.replaceKey("/Type", QPDFObjectHandle::newName("/Pages"));
    node.replaceKey("/Count", QPDFObjectHandle::newInteger(pageCount));
    node.replaceKey("/Kids", QPDFObjectHandle::newArray(kids));
    return node;
}

} // namespace

QPDFObjectHandle buildPageTree(QPDF& document, const std::vector<QPDFObjectHandle>& pages) {
    std::vector<Branch> level;
    level.reserve(pages.size());
    for (const QPDFObjectHandle& page : pages) {
        level.push_back({page, 1});
    }
    do {
        std::vector<Branch> above;
        for (std::size_t start = 0; start < level.size() || start == 0; start += childrenPerNode) {
            const std::size_t end = std::min(start + childrenPerNode, level.size());
            Branch node{};
            node.object =
                makeNode(document, level.begin() + static_cast<std::ptrdiff_t>(start),
                         level.begin() + static_cast<std::ptrdiff_t>(end), node.pageCount);
            above.push_back(node);
        }
        level = std::move(above);
    } while (level.size() > 1);
    return level.front().object;
}

} // namespace quillorn
