#pragma once

#include <filesystem>

namespace bench {

/// Writes a classic PDF of many small pages: a paragraph of text each, one shared font, a balanced
/// page tree with the resources at its root. Siblings of different length show how time grows with
/// the number of pages.
///
/// Every page carries the line "Page N" (N from 1), by which a check can tell the order.
void writePlainPages(const std::filesystem::path& path, int pages);

} // namespace bench
