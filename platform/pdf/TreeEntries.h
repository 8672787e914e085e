#pragma once

#include <cstddef>
#include <functional>
#include <qpdf/QPDFObjectHandle.hh>

namespace quillorn {

/// Walks a name tree or a number tree (ISO 32000-1, 7.9.6 and 7.9.7) in its stored order and
/// calls `visit(key, value)` for each entry until it answers false. `leafKey` is "/Names" or
/// "/Nums". Trees come from anywhere: no node and no list of a node is entered again, and no more
/// than `entryLimit` entries are visited. Answers whether nothing was left out for these reasons.
bool forEachTreeEntry(const QPDFObjectHandle& root, const char* leafKey, std::size_t entryLimit,
                      const std::function<bool(QPDFObjectHandle, QPDFObjectHandle)>& visit);

} // namespace quillorn
