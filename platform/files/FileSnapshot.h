#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/files/FileError.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace quillorn {

/// Where and up to which size an opened file is copied so that rewriting it in place does no harm.
struct SnapshotPolicy {
    std::filesystem::path folder; ///< an existing folder of our own; copies have no name in it
    std::uint64_t copyLimit = 8U << 20U; ///< bytes; a larger file is only cloned or watched
};

/// A file opened to be read for a long time.
struct KeptFile {
    FileDescriptor descriptor; ///< the file itself, or our private copy of it
    FileStamp stamp;           ///< of `descriptor`, as opened
    bool isSnapshot = false;   ///< a private copy, which nobody else can change
};

/// Opens `path` for reading. With a policy the content is made our own where that is cheap: by
/// sharing its blocks (a reflink) on file systems that can, by copying when the file is small.
/// Otherwise the file itself is kept open, which deleting, renaming or replacing it cannot harm;
/// compare its stamp before trusting what was read to notice a rewrite in place.
[[nodiscard]] FileResult<KeptFile> openKept(const std::filesystem::path& path,
                                            const std::optional<SnapshotPolicy>& policy);

} // namespace quillorn
