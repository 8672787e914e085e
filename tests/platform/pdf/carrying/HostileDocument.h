#pragma once

#include "tests/fakes/TestPDF.h"
#include "tests/platform/pdf/carrying/Composition.h"
#include "tests/platform/pdf/carrying/HandmadePDF.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {

/// So many things in a file. The sanitizers look at each access, not at how the work grows, and
/// make everything slower by an order of magnitude: an eighth serves them.
constexpr std::size_t many(std::size_t count) {
#ifdef QUILLORN_SANITIZERS
    return count / 8;
#else
    return count;
#endif
}

/// Documents made to waste time, or to be followed without end. What is asked of each: the pages
/// are written within limits of time and memory, and what is sound about them stays.
class HostileDocument : public testing::Test {
protected:
    HostileDocument() { composition.limitWrites(); }

    Composition::Source source(const std::string& catalogEntries = "",
                               const std::string& treeEntries = "") {
        const std::string name = "hostile" + std::to_string(++m_files) + ".pdf";
        return composition.open(
            document.write(composition.folder() / name, catalogEntries, treeEntries));
    }

    std::size_t addPages(std::size_t count, const std::string& entries = "") {
        const std::size_t first = document.next();
        for (std::size_t i = 0; i < count; ++i) {
            document.addPage(entries);
        }
        return first;
    }

    /// Writes the document whole, in part, and beside another one.
    void writeInEveryWay(const Composition::Source& hostile) {
        composition.add(hostile);
        composition.writeChecked("whole.pdf");
        composition.add(hostile, {1});
        composition.writeChecked("part.pdf");
        composition.add(composition.source("plain.pdf", TestPDF("plain", 3)))
            .add(hostile, {2, 1, 1});
        composition.writeChecked("mixed.pdf");
    }

    Composition composition;
    HandmadePDF document;

private:
    int m_files = 0;
};

} // namespace quillorn::tests
