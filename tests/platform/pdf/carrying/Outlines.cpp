#include "tests/platform/pdf/carrying/Outlines.h"

#include "tests/platform/pdf/carrying/Composition.h"

#include <cstddef>

namespace quillorn::tests {

namespace {

/// Writes the objects of items, parents before children; `bodies[0]` is object `base`.
void writeItems(const std::vector<OutlineItem>& items, std::size_t parent, std::size_t base,
                std::vector<std::string>& bodies, std::string& firstAndLast) {
    std::vector<std::size_t> numbers;
    std::vector<std::string> below(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        numbers.push_back(base + bodies.size());
        bodies.emplace_back();
        if (!items[i].children.empty()) {
            writeItems(items[i].children, numbers[i], base, bodies, below[i]);
            below[i] += std::string(" /Count ") + (items[i].open ? "" : "-") +
                        std::to_string(items[i].children.size());
        }
    }
    for (std::size_t i = 0; i < items.size(); ++i) {
        bodies[numbers[i] - base] =
            "<< " + items[i].entries + " /Parent " + referenceTo(parent) +
            (i > 0 ? " /Prev " + referenceTo(numbers[i - 1]) : "") +
            (i + 1 < items.size() ? " /Next " + referenceTo(numbers[i + 1]) : "") + below[i] +
            " >>";
    }
    firstAndLast =
        " /First " + referenceTo(numbers.front()) + " /Last " + referenceTo(numbers.back());
}

} // namespace

std::string titledEntry(const TestPDF& document, const std::string& title, std::size_t page) {
    return "/Title (" + title + ") /Dest [" + referenceTo(document.pageObject(page - 1)) + " /Fit]";
}

void addOutline(TestPDF& document, const std::vector<OutlineItem>& items) {
    const std::size_t root = document.nextObject();
    std::vector<std::string> bodies(1);
    std::string firstAndLast;
    writeItems(items, root, root, bodies, firstAndLast);
    bodies.front() = "<< /Type /Outlines" + firstAndLast + " >>";
    for (const std::string& body : bodies) {
        document.addObject(body);
    }
    document.addCatalogEntry("/Outlines " + referenceTo(root));
}

} // namespace quillorn::tests
