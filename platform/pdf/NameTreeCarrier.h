#pragma once

#include "platform/pdf/CarryContext.h"

#include <map>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>

namespace quillorn {

/// Carries what documents keep in name trees of their own: attachments, and the scripts that
/// their forms call. Each comes along once from every source that contributes a page; a name
/// that is taken gets a number. A document that comes along whole keeps all its name trees.
class NameTreeCarrier {
public:
    void collect(const CarryContext& context);
    /// The catalogue's /Names, or null when there is nothing in it.
    [[nodiscard]] QPDFObjectHandle finish();

private:
    using Entries = std::map<std::string, QPDFObjectHandle>; ///< in the order a name tree needs

    void collectTree(const CarryContext& context, const char* tree, Entries& entries);

    QPDFObjectHandle m_whole = QPDFObjectHandle::newNull();
    Entries m_attachments;
    Entries m_scripts;
};

} // namespace quillorn
