#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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

/// Heavy resources by name, which may stand in several categories.
using HeavyResources = std::multimap<std::string, HeavyResource, std::less<>>;

/// The heavy entries of a dictionary of resources. Forms, patterns, masks and drawn fonts always
/// count as heavy: they may hold anything.
[[nodiscard]] HeavyResources heavyResources(QPDFObjectHandle resources);

/// The entries that `heavyResources` looks at.
[[nodiscard]] std::size_t resourceCount(QPDFObjectHandle resources);

} // namespace quillorn
