#include "platform/pdf/PageTree.h"

#include <set>
#include <stdexcept>
#include <string>
#include <utility>

namespace quillorn {

namespace {

/// Up to this many pages each one is looked at: it costs nothing noticeable, and the small files
/// are where hand-made and broken page trees are found.
constexpr long long thoroughUpTo = 256;

bool holdsOnlyPages(QPDFObjectHandle& node, const std::vector<QPDFObjectHandle>& kids) {
    QPDFObjectHandle count = node.getKey("/Count");
    if (!count.isInteger() || kids.empty() ||
        count.getIntValue() != static_cast<long long>(kids.size())) {
        return false;
    }
    QPDFObjectHandle first = kids.front();
    return first.isDictionary() && !first.hasKey("/Kids");
}

constexpr int deepestNode = 100;

PageTree::Inherited inheritedBelow(QPDFObjectHandle node, PageTree::Inherited attributes) {
    const auto take = [&node](const char* key, QPDFObjectHandle& value) {
        if (QPDFObjectHandle own = node.getKey(key); !own.isNull()) {
            value = own;
        }
    };
    take("/Resources", attributes.resources);
    take("/MediaBox", attributes.mediaBox);
    take("/CropBox", attributes.cropBox);
    take("/Rotate", attributes.rotate);
    return attributes;
}

QPDFObjectHandle attributeOf(QPDFObjectHandle page, const PageTree::Inherited& inherited,
                             const std::string& key) {
    if (page.isDictionary()) {
        if (QPDFObjectHandle own = page.getKey(key); !own.isNull()) {
            return own;
        }
    }
    if (key == "/Resources") {
        return inherited.resources;
    }
    if (key == "/MediaBox") {
        return inherited.mediaBox;
    }
    if (key == "/CropBox") {
        return inherited.cropBox;
    }
    return key == "/Rotate" ? inherited.rotate : QPDFObjectHandle::newNull();
}

} // namespace

struct PageTree::Frame {
    QPDFObjectHandle node;
    std::vector<QPDFObjectHandle> kids;
    std::size_t next = 0;
    std::uint32_t inherited = 0;
};

PageTree::PageTree(QPDF& document, Reading reading) {
    QPDFObjectHandle root = document.getRoot().getKey("/Pages");
    if (root.isDictionary()) {
        QPDFObjectHandle count = root.getKey("/Count");
        const bool small = !count.isInteger() || count.getIntValue() <= thoroughUpTo;
        walk(document, root, small ? Reading::thorough : reading);
    }
    if (m_leaves.empty()) {
        const bool claimsPages = !root.isDictionary() || !root.getKey("/Count").isInteger() ||
                                 root.getKey("/Count").getIntValue() != 0;
        if (claimsPages) {
            collectStrayPages(document);
        }
    }
}

std::optional<std::size_t> PageTree::statedPageCount(QPDF& document, std::uint64_t fileSize) {
    QPDFObjectHandle root = document.getRoot().getKey("/Pages");
    QPDFObjectHandle count = root.getKeyIfDict("/Count");
    if (!count.isInteger() || count.getIntValue() <= thoroughUpTo ||
        !root.getKey("/Kids").isArray()) {
        return std::nullopt;
    }
    // Each page is an object of its own, and even compressed takes a byte.
    QPDFObjectHandle objects = document.getTrailer().getKey("/Size");
    if (!objects.isInteger() || count.getIntValue() > objects.getIntValue() ||
        static_cast<std::uint64_t>(count.getIntValue()) > fileSize) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(count.getIntValue());
}

void PageTree::walk(QPDF& document, QPDFObjectHandle root, Reading reading) {
    if (!root.hasKey("/Kids") && !root.isDictionaryOfType("/Pages")) {
        // Some producers let the catalogue point straight at the only page.
        m_inherited.emplace_back();
        addLeaf(document, root, 0);
        return;
    }
    std::set<QPDFObjGen> seen;
    if (root.isIndirect()) {
        seen.insert(root.getObjGen());
    }
    std::vector<Frame> open;
    enter(document, root, Inherited{}, reading, open);
    while (!open.empty()) {
        Frame& top = open.back();
        if (top.next == top.kids.size()) {
            open.pop_back();
            continue;
        }
        QPDFObjectHandle kid = top.kids[top.next++];
        if (!kid.isDictionary()) {
            continue;
        }
        if (!kid.hasKey("/Kids")) {
            // An empty inner node without children is no page either.
            if (!kid.isDictionaryOfType("/Pages")) {
                addLeaf(document, kid, top.inherited);
            }
        } else if (!kid.isIndirect() || seen.insert(kid.getObjGen()).second) {
            const Inherited from = m_inherited[top.inherited];
            enter(document, kid, from, reading, open);
        }
    }
}

void PageTree::enter(QPDF& document, QPDFObjectHandle node, const Inherited& from, Reading reading,
                     std::vector<Frame>& open) {
    m_inherited.push_back(inheritedBelow(node, from));
    m_nodes.push_back(node);

    Frame frame;
    frame.node = node;
    frame.inherited = static_cast<std::uint32_t>(m_inherited.size() - 1);
    if (QPDFObjectHandle kids = node.getKey("/Kids"); kids.isArray()) {
        frame.kids = kids.getArrayAsVector();
    }
    if (reading == Reading::lazy && holdsOnlyPages(node, frame.kids)) {
        for (const QPDFObjectHandle& kid : frame.kids) {
            addLeaf(document, kid, frame.inherited);
        }
        return;
    }
    open.push_back(std::move(frame));
}

void PageTree::addLeaf(QPDF& document, QPDFObjectHandle page, std::uint32_t inherited) {
    if (!page.isIndirect()) {
        page = document.makeIndirectObject(page);
    }
    m_leaves.push_back(Leaf{page, inherited});
}

/// The last resort for a file whose page tree is gone: whatever calls itself a page.
void PageTree::collectStrayPages(QPDF& document) {
    m_inherited.emplace_back();
    const auto root = static_cast<std::uint32_t>(m_inherited.size() - 1);
    for (QPDFObjectHandle& object : document.getAllObjects()) {
        if (object.isDictionaryOfType("/Page")) {
            addLeaf(document, object, root);
        }
    }
}

const PageTree::Leaf& PageTree::leaf(std::size_t index) const {
    if (index >= m_leaves.size()) {
        throw std::out_of_range("page " + std::to_string(index + 1) +
                                " is missing from the page tree");
    }
    return m_leaves[index];
}

QPDFObjectHandle PageTree::reference(std::size_t index) const {
    return leaf(index).page;
}

QPDFObjectHandle PageTree::page(std::size_t index) const {
    QPDFObjectHandle page = leaf(index).page;
    return page.isDictionary() ? page : QPDFObjectHandle();
}

const PageTree::Inherited& PageTree::inherited(std::size_t index) const {
    return m_inherited[leaf(index).inherited];
}

QPDFObjectHandle PageTree::attribute(std::size_t index, const char* key) const {
    return attributeOf(leaf(index).page, inherited(index), key);
}

QPDFObjectHandle PageTree::attribute(const Located& located, const char* key) {
    return attributeOf(located.page, located.inherited, key);
}

std::optional<PageTree::Located> PageTree::locate(QPDF& document, std::size_t index) {
    QPDFObjectHandle node = document.getRoot().getKey("/Pages");
    Inherited inherited;
    for (int depth = 0; depth < deepestNode && node.isDictionary(); ++depth) {
        QPDFObjectHandle list = node.getKey("/Kids");
        if (!list.isArray()) {
            break;
        }
        std::vector<QPDFObjectHandle> kids = list.getArrayAsVector();
        inherited = inheritedBelow(node, inherited);
        if (holdsOnlyPages(node, kids)) {
            if (index < kids.size() && kids[index].isDictionary() && !kids[index].hasKey("/Kids")) {
                return Located{kids[index], inherited};
            }
            break;
        }
        node = QPDFObjectHandle::newNull();
        for (QPDFObjectHandle& kid : kids) {
            if (!kid.isDictionary()) {
                return std::nullopt;
            }
            QPDFObjectHandle count = kid.getKey("/Count");
            if (!kid.hasKey("/Kids")) {
                if (index == 0) {
                    return Located{kid, inherited};
                }
                --index;
                continue;
            }
            if (!count.isInteger() || count.getIntValue() < 0) {
                return std::nullopt;
            }
            const auto pages = static_cast<std::size_t>(count.getIntValue());
            if (index < pages) {
                node = kid;
                break;
            }
            index -= pages;
        }
    }
    return std::nullopt;
}

} // namespace quillorn
