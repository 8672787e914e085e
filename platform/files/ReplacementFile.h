#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/files/FileError.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <sys/types.h>

namespace quillorn {

/// Writes a file so that its name always stands for a complete one.
///
/// The bytes go into a temporary file in the target's folder. `commit` flushes it to the disk
/// and moves it onto the target in one step; until then, and whenever that fails, the old file
/// is untouched. Without `commit` the temporary file goes away with this object. Where the file
/// system allows it the temporary file has no name while it is written, so that not even a killed
/// process leaves one behind; elsewhere it is called ".quillorn-*.part". A file of such a name is
/// locked by its writer, and unlocked ones are removed by the next writer in that folder.
///
/// A replaced file keeps its mode (and owner and group, where the system permits); a new one gets
/// the mode that the umask leaves. A symbolic link stays and its target is replaced, or made. A
/// target that is a folder or a device, or that its owner has write-protected, is refused.
///
/// Not thread-safe; different objects may be used by different threads.
class ReplacementFile {
public:
    /// Whether the temporary file may do without a name.
    enum class Temporary { unnamedWherePossible, named };

    [[nodiscard]] static FileResult<ReplacementFile>
    create(const std::filesystem::path& target,
           Temporary temporary = Temporary::unnamedWherePossible);

    ReplacementFile(ReplacementFile&& other) noexcept;
    ReplacementFile& operator=(ReplacementFile&&) = delete;
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile();

    /// Appends bytes. After a failure only destroying the object makes sense.
    [[nodiscard]] FileResult<void> write(std::span<const char> data);

    /// Flushes to the disk and replaces the target. Nothing may be written afterwards.
    [[nodiscard]] FileResult<void> commit();

    [[nodiscard]] std::uint64_t bytesWritten() const { return m_bytesWritten; }
    [[nodiscard]] const std::filesystem::path& target() const { return m_target; }

private:
    ReplacementFile() = default;

    FileResult<void> openTemporary(Temporary temporary);
    FileResult<void> keepOwnerAndMode();
    FileResult<void> moveOntoTarget();
    void startWritingBack();

    std::filesystem::path m_target;        ///< absolute, not a symbolic link
    std::filesystem::path m_temporaryName; ///< empty while the temporary file has no name
    FileDescriptor m_descriptor;
    bool m_replaces = false;
    mode_t m_replacedMode = 0;
    uid_t m_replacedOwner = 0;
    gid_t m_replacedGroup = 0;
    std::uint64_t m_bytesWritten = 0;
    std::uint64_t m_bytesOnTheWay = 0; ///< already handed to the disk by startWritingBack
};

} // namespace quillorn
