#pragma once

#include "platform/pdf/CarryContext.h"

#include <cstddef>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>
#include <vector>

namespace quillorn {

/// Carries what documents keep in name trees of their own (ISO 32000-1, 7.7.4).
///
/// Attachments come along once from every source that contributes a page; scripts of the
/// document from every source that contributes form fields, whose calculations call them. A name
/// that an earlier document uses gets a number, in the tree and in what the attached file says of
/// itself. A document that comes along whole keeps all its name trees: named destinations, for
/// links from other files, and what else there is.
///
/// The trees are built anew: those that come in may loop, or be out of order.
class NameTreeCarrier {
public:
    void collect(const CarryContext& context, bool withScripts);
    /// The catalogue's /Names, or null when there is nothing in it.
    [[nodiscard]] QPDFObjectHandle finish(QPDF& output);

private:
    struct Entry {
        std::size_t firstOutput; ///< of the source
        std::string tree;        ///< "/EmbeddedFiles"
        QPDFObjectHandle name;
        QPDFObjectHandle value; ///< in the output
    };

    void collectTree(const CarryContext& context, const std::string& tree, QPDFObjectHandle root);

    std::vector<Entry> m_entries;
};

} // namespace quillorn
