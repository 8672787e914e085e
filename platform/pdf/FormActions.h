#pragma once

#include "platform/pdf/FieldTree.h"

#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Whether an action lists form fields: "submit these", "reset these", "hide these".
[[nodiscard]] bool namesFields(QPDFObjectHandle action);

/// Lets such actions of one source forget the fields that stay behind, and name the others by
/// reference, so that they keep meaning the same fields when those are renamed.
void keepFieldsOfActions(QPDF& source, const std::vector<QPDFObjectHandle>& actions,
                         const FieldTree& fields);

} // namespace quillorn
