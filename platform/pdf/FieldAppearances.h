#pragma once

#include <cstdint>
#include <qpdf/QPDFObjectHandle.hh>
#include <vector>

namespace quillorn {

/// Does what a form asks its readers for with NeedAppearances (ISO 32000-1, 12.7.2): draws each
/// field's value. `fields` are the fields and widgets of one document, which this changes.
///
/// A text or a choice that libqpdf can draw gets its picture; the picture of any other text or
/// choice is taken away, for which readers draw their own, field by field. Buttons keep the
/// pictures of their states, which also name the states.
///
/// Fields may share texts, lists and pictures, so that a small file could ask for endless work:
/// what is beyond that of honest files of `fileBytes` is left to the readers as well.
void drawFields(const std::vector<QPDFObjectHandle>& fields, std::uint64_t fileBytes);

} // namespace quillorn
