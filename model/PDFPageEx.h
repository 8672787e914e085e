#pragma once

#include "platform/pdf/PDFPage.h"

namespace quillorn {

/// The labelled page: a page with the text that stands under its thumbnail, "" until somebody
/// sets it. Pages reach the items straight from documents, so it is the very page type that
/// PDFDocument hands out, which carries the label.
using PDFPageEx = PDFPage;

} // namespace quillorn
