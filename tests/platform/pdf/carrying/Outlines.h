#pragma once

#include "tests/fakes/TestPDF.h"

#include <string>
#include <vector>

namespace quillorn::tests {

/// An entry of a hand-made outline.
struct OutlineItem {
    std::string entries; ///< of its dictionary, e.g. "/Title (One) /Dest [4 0 R /Fit]"
    std::vector<OutlineItem> children;
    bool open = true;
};

/// "/Title (One) /Dest [4 0 R /Fit]" for a page, counted from 1.
[[nodiscard]] std::string titledEntry(const TestPDF& document, const std::string& title,
                                      std::size_t page);

/// Gives a document this outline.
void addOutline(TestPDF& document, const std::vector<OutlineItem>& items);

} // namespace quillorn::tests
