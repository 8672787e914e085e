#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillorn {

/// Bytes of the files at these paths; of those directly in it where one is a folder. What is not
/// there counts nothing.
[[nodiscard]] std::uint64_t sizeOfFiles(const std::vector<std::string>& paths);

/// Lets this process take no more memory (bytes of private data, RLIMIT_DATA) than a command needs
/// for inputs of so many bytes: a gibibyte, and much more than honest files come to when they are
/// unpacked. What a file asks for beyond that fails with std::bad_alloc, instead of driving
/// everything else on the machine out of memory.
///
/// Only ever lowers the limit, and only the soft one: each child process gets one of its own.
void limitMemoryForInputs(std::uint64_t inputBytes);

} // namespace quillorn
