#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// The pages of one libqpdf document, found without reading them.
///
/// The inner nodes of the tree are read; a node whose stated count equals its number of children
/// holds only pages, as its first and its last child confirm, so its children are listed by
/// reference and stay unread until asked for. Files that are not in order (`thorough`) have every
/// child read instead, loops and entries that are no pages left out. Where there is no tree at all,
/// whatever calls itself a page is one. Attributes that pages inherit are collected on the way down
/// and delivered with each page.
///
/// Belongs to the thread of its document.
class PageTree {
public:
    enum class Reading { lazy, thorough };

    /// Attributes that a page may inherit (ISO 32000-1, table 30); null where nothing is stated
    /// that could be one.
    struct Inherited {
        QPDFObjectHandle resources = QPDFObjectHandle::newNull();
        QPDFObjectHandle mediaBox = QPDFObjectHandle::newNull();
        QPDFObjectHandle cropBox = QPDFObjectHandle::newNull();
        QPDFObjectHandle rotate = QPDFObjectHandle::newNull();
    };

    /// Throws libqpdf's exceptions when the document cannot be read at all.
    PageTree(QPDF& document, Reading reading);

    /// The number of pages that the root of the tree states, without reading anything else.
    /// Nothing for a small document, whose pages are better counted, or when it states none, or
    /// more than a file of `fileSize` bytes can hold.
    [[nodiscard]] static std::optional<std::size_t> statedPageCount(QPDF& document,
                                                                    std::uint64_t fileSize);
    /// The same of a root that was read by other means. It may be anything.
    [[nodiscard]] static std::optional<std::size_t>
    statedPageCount(QPDFObjectHandle root, QPDFObjectHandle trailer, std::uint64_t fileSize);

    /// A page and what it inherits, found by stepping down the stated counts.
    struct Located {
        QPDFObjectHandle page;
        Inherited inherited;
    };
    /// One page without looking at the others, in a file that is in order; nothing where the
    /// counts on the way do not fit or lead to no page, which only the whole tree can settle, and
    /// in a small document, whose entries that are no pages have no number.
    [[nodiscard]] static std::optional<Located> locate(QPDF& document, std::size_t index);

    /// The pages that are there. The root may have stated another number: the functions below
    /// throw std::out_of_range, with a message for people, for an index from here on.
    [[nodiscard]] std::size_t pageCount() const { return m_leaves.size(); }

    /// The page object itself, an indirect reference that may not have been read yet.
    [[nodiscard]] QPDFObjectHandle reference(std::size_t index) const;

    /// The page object, read now; not initialised when it turns out to be no page.
    [[nodiscard]] QPDFObjectHandle page(std::size_t index) const;

    [[nodiscard]] const Inherited& inherited(std::size_t index) const;

    /// One of the inheritable attributes with inheritance applied; null when it is stated nowhere.
    /// A box has four numbers, a rotation is an integer, resources are a dictionary.
    [[nodiscard]] QPDFObjectHandle attribute(std::size_t index, const char* key) const;

    /// Inner nodes of the tree, the root included. Page objects point back at them.
    [[nodiscard]] const std::vector<QPDFObjectHandle>& innerNodes() const { return m_nodes; }

    /// The same for a page that was located.
    [[nodiscard]] static QPDFObjectHandle attribute(const Located& located, const char* key);

private:
    struct Leaf {
        QPDFObjectHandle page;
        std::uint32_t inherited; ///< index into m_inherited
    };
    struct Frame;

    [[nodiscard]] const Leaf& leaf(std::size_t index) const;
    void walk(QPDF& document, QPDFObjectHandle root, Reading reading);
    void enter(QPDF& document, const QPDFObjectHandle& node, const Inherited& from, Reading reading,
               std::vector<Frame>& open);
    void addLeaf(QPDF& document, const QPDFObjectHandle& page, std::uint32_t inherited);
    void collectStrayPages(QPDF& document);
    void settleRepeatedPages();

    std::vector<QPDFObjectHandle> m_nodes;
    std::vector<Inherited> m_inherited;
    std::vector<Leaf> m_leaves;
};

} // namespace quillorn
