#pragma once

#include <cstdint>
#include <map>
#include <qpdf/QPDFObjectHandle.hh>
#include <string>
#include <vector>

namespace quillorn {

/// Bytes of a stream as it is stored; 0 for what is no stream.
[[nodiscard]] std::uint64_t storedLength(QPDFObjectHandle object);

/// An entry of a dictionary of resources that is worth leaving out when nothing draws it.
struct HeavyResource {
    std::string category; ///< "/Font"
    QPDFObjectHandle object;
};

/// The heavy entries of a dictionary of resources by name. Forms, patterns, masks and drawn
/// fonts always count as heavy: they may hold anything.
[[nodiscard]] std::multimap<std::string, HeavyResource> heavyResources(QPDFObjectHandle resources);

} // namespace quillorn
