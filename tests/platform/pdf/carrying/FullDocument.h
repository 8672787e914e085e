#pragma once

#include "tests/fakes/TestPDF.h"

#include <string>

namespace quillorn::tests {

/// A four-page document with one of everything that pages carry. `name` ("one") stands in what
/// tells two such documents apart; what should clash between them has the same name in all:
/// the destination "chapter", the field "name" and the attachment "notes.txt".
///
///   outline     Start of NAME (page 1, open) with "Middle of NAME" (page 2), End of NAME (page 4,
///               by the name "chapter")
///   page 1      links: explicit to page 3, by name to page 4, to http://example.org/NAME
///   page 2      the text field "name", value "value of NAME"
///   labels      i, ii, iii, iv
///   attachment  notes.txt: "notes of NAME"
///   title       Title of NAME; author, subject and keywords as well
[[nodiscard]] TestPDF fullDocument(const std::string& name);

} // namespace quillorn::tests
