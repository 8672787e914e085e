#pragma once

#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Does what a form asks its readers for with NeedAppearances (ISO 32000-1, 12.7.2): draws each
/// field's value. `fields` are the fields and widgets of one document, which this changes.
///
/// A text or a choice that libqpdf can draw gets its picture; the picture of any other text or
/// choice is taken away, for which readers draw their own, field by field. Buttons keep the
/// pictures of their states, which also name the states.
void drawFields(const std::vector<QPDFObjectHandle>& fields);

} // namespace quillorn
