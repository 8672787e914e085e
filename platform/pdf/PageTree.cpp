#include "platform/pdf/PageTree.h"

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>

namespace quillorn {

namespace {

/// Up to this many pages each one is looked at: it costs nothing noticeable, and the small files
/// are where hand-made and broken page trees are found.
constexpr long long thoroughUpTo = 256;

/// A file that states more pages than this is not believed but counted: whoever shows a document
/// makes a place for each page at once.
constexpr long long mostPagesBelieved = 100'000;

/// Up the tree from a page whose root is lost.
constexpr int mostAncestors = 100;

bool isPage(QPDFObjectHandle object) {
    return object.isDictionary() && !object.hasKey("/Kids");
}

/// An inner node without children has no place among the pages.
bool isEmptyNode(QPDFObjectHandle object) {
    return object.isDictionaryOfType("/Pages") && !object.hasKey("/Kids");
}

/// Looks at the children's references and at the first and the last child.
bool holdsOnlyPages(QPDFObjectHandle& node, const std::vector<QPDFObjectHandle>& kids) {
    QPDFObjectHandle count = node.getKey("/Count");
    return count.isInteger() && !kids.empty() &&
           count.getIntValue() == static_cast<long long>(kids.size()) &&
           std::all_of(kids.begin(), kids.end(),
                       [](QPDFObjectHandle kid) { return kid.isIndirect(); }) &&
           isPage(kids.front()) && isPage(kids.back()) && !isEmptyNode(kids.front()) &&
           !isEmptyNode(kids.back());
}

bool isBox(QPDFObjectHandle value) {
    if (!value.isArray() || value.getArrayNItems() < 4) {
        return false;
    }
    for (int i = 0; i < 4; ++i) {
        if (!value.getArrayItem(i).isNumber()) {
            return false;
        }
    }
    return true;
}

/// Whether `value` can be what `key` stands for. One that cannot counts as not stated: other
/// readers, too, go by the inherited one then.
bool isUsable(const std::string& key, QPDFObjectHandle value) {
    if (key == "/Resources") {
        return value.isDictionary();
    }
    return key == "/Rotate" ? value.isInteger() : isBox(value);
}

/// What `node` states itself comes first.
PageTree::Inherited inheritedThrough(QPDFObjectHandle node, PageTree::Inherited from) {
    const auto take = [&node](const char* key, QPDFObjectHandle& value) {
        if (QPDFObjectHandle own = node.getKey(key); isUsable(key, own)) {
            value = own;
        }
    };
    take("/Resources", from.resources);
    take("/MediaBox", from.mediaBox);
    take("/CropBox", from.cropBox);
    take("/Rotate", from.rotate);
    return from;
}

constexpr int deepestNode = 100;

QPDFObjectHandle attributeOf(QPDFObjectHandle page, const PageTree::Inherited& inherited,
                             const std::string& key) {
    if (page.isDictionary()) {
        if (QPDFObjectHandle own = page.getKey(key); isUsable(key, own)) {
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
    settleRepeatedPages();
}

std::optional<std::size_t> PageTree::statedPageCount(QPDF& document, std::uint64_t fileSize) {
    return statedPageCount(document.getRoot().getKey("/Pages"), document.getTrailer(), fileSize);
}

std::optional<std::size_t>
PageTree::statedPageCount(QPDFObjectHandle root, QPDFObjectHandle trailer, std::uint64_t fileSize) {
    QPDFObjectHandle count = root.getKeyIfDict("/Count");
    if (!count.isInteger() || count.getIntValue() <= thoroughUpTo ||
        count.getIntValue() > mostPagesBelieved || !root.getKey("/Kids").isArray()) {
        return std::nullopt;
    }
    // Each page is an object of its own, and even compressed takes a byte.
    QPDFObjectHandle objects = trailer.getKey("/Size");
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
    std::vector<Frame> open;
    std::set<QPDFObjGen> seen;
    // Neither a node nor a list of children counts twice, so that the walk ends in every file.
    const auto isNew = [&seen](QPDFObjectHandle object) {
        return !object.isIndirect() || seen.insert(object.getObjGen()).second;
    };
    const auto enterNew = [&](QPDFObjectHandle node, const Inherited& from) {
        if (isNew(node) && isNew(node.getKey("/Kids"))) {
            enter(document, node, from, reading, open);
        }
    };
    enterNew(root, Inherited{});
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
            if (!isEmptyNode(kid)) {
                addLeaf(document, kid, top.inherited);
            }
        } else {
            const Inherited from = m_inherited[top.inherited];
            enterNew(kid, from);
        }
    }
}

void PageTree::enter(QPDF& document, const QPDFObjectHandle& node, const Inherited& from,
                     Reading reading, std::vector<Frame>& open) {
    m_inherited.push_back(inheritedThrough(node, from));
    m_nodes.push_back(node);

    Frame frame;
    frame.node = node;
    frame.inherited = static_cast<std::uint32_t>(m_inherited.size() - 1);
    if (QPDFObjectHandle kids = frame.node.getKey("/Kids"); kids.isArray()) {
        frame.kids = kids.getArrayAsVector();
    }
    if (reading == Reading::lazy && holdsOnlyPages(frame.node, frame.kids)) {
        for (const QPDFObjectHandle& kid : frame.kids) {
            addLeaf(document, kid, frame.inherited);
        }
        return;
    }
    open.push_back(std::move(frame));
}

void PageTree::addLeaf(QPDF& document, const QPDFObjectHandle& page, std::uint32_t inherited) {
    const bool indirect = QPDFObjectHandle(page).isIndirect();
    m_leaves.push_back(Leaf{indirect ? page : document.makeIndirectObject(page), inherited});
}

/// The last resort for a file whose page tree is gone: whatever calls itself a page.
void PageTree::collectStrayPages(QPDF& document) {
    for (QPDFObjectHandle& object : document.getAllObjects()) {
        if (object.isDictionaryOfType("/Page")) {
            std::vector<QPDFObjectHandle> ancestors;
            for (QPDFObjectHandle node = object.getKey("/Parent");
                 node.isDictionary() && ancestors.size() < mostAncestors;
                 node = node.getKey("/Parent")) {
                ancestors.push_back(node);
            }
            Inherited attributes;
            for (auto node = ancestors.rbegin(); node != ancestors.rend(); ++node) {
                attributes = inheritedThrough(*node, std::move(attributes));
            }
            m_inherited.push_back(std::move(attributes));
            addLeaf(document, object, static_cast<std::uint32_t>(m_inherited.size() - 1));
        }
    }
}

/// A page that stands below several nodes inherits from the first of them wherever it stands: it
/// is one object, and one page as to whatever refers to it.
void PageTree::settleRepeatedPages() {
    std::unordered_map<int, std::uint32_t> first; // by object number
    first.reserve(m_leaves.size());
    for (Leaf& leaf : m_leaves) {
        leaf.inherited = first.try_emplace(leaf.page.getObjectID(), leaf.inherited).first->second;
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
    return isPage(page) ? page : QPDFObjectHandle();
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
    if (!statedPageCount(document, std::numeric_limits<std::uint64_t>::max())) {
        return std::nullopt;
    }
    QPDFObjectHandle node = document.getRoot().getKey("/Pages");
    Inherited inherited;
    for (int depth = 0; depth < deepestNode && node.isDictionary(); ++depth) {
        QPDFObjectHandle list = node.getKey("/Kids");
        if (!list.isArray()) {
            break;
        }
        std::vector<QPDFObjectHandle> kids = list.getArrayAsVector();
        inherited = inheritedThrough(node, inherited);
        if (holdsOnlyPages(node, kids)) {
            if (index < kids.size() && isPage(kids[index])) {
                return Located{kids[index], inherited};
            }
            break;
        }
        node = QPDFObjectHandle::newNull();
        for (QPDFObjectHandle& kid : kids) {
            if (!kid.isDictionary() || isEmptyNode(kid)) {
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
