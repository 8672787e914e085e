#include "support/detail/BlockMedia.h"

#include <sys/sysmacros.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// A media entry carries its number in "dev"; a partition carries "partition", a whole disk does
// not; SCSI device type 5 is the CD and DVD drive.
bool IsWholeMedia(const fs::path& entry) {
    constexpr int opticalDrive = 5;
    std::error_code error;
    if (!fs::exists(entry / "dev", error) || fs::exists(entry / "partition", error))
        return false;
    std::ifstream file(entry / "device" / "type");
    int type = -1;
    return file >> type && type == opticalDrive;
}

} // namespace

bool ASIsNetworkFileSystem(int64_t type) {
    constexpr uint32_t networkTypes[] = {
        0x6969,     // NFS
        0x517B,     // SMB
        0xFF534D42, // CIFS
        0xFE534D42, // SMB 2
        0x01021997, // 9P
        0x00C36400, // Ceph
        0x5346414F, // AFS
        0x73757245, // Coda
        0x564C,     // NCP
    };
    return std::ranges::find(networkTypes, static_cast<uint32_t>(type)) != std::end(networkTypes);
}

int ASDeviceName(const std::string& systemFolder, dev_t number, std::string& name) {
    const fs::path entry = fs::path(systemFolder) / "dev" / "block" /
                           (std::to_string(major(number)) + ":" + std::to_string(minor(number)));
    std::error_code error;
    name = fs::read_symlink(entry, error).filename().string();
    return error.value();
}

bool ASFindWholeMedia(const std::string& systemFolder, const std::string& name) {
    const fs::path disks = fs::path(systemFolder) / "block";
    if (name.empty())
        return false;
    if (IsWholeMedia(disks / name))
        return true;
    // A partition: its parent is the disk whose folder holds it.
    std::error_code error;
    for (const auto& disk : fs::directory_iterator(disks, error)) {
        if (fs::exists(disk.path() / name / "partition", error))
            return IsWholeMedia(disk.path());
    }
    return false;
}
