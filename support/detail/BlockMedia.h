#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

/// Whether a file system type of statfs lives on another machine.
bool ASIsNetworkFileSystem(int64_t type);

/// Name of a block device ("sr0", "sda1"): where `<system>/dev/block/<major>:<minor>` points to.
/// 0, or the error number when there is no such entry.
int ASDeviceName(const std::string& systemFolder, dev_t number, std::string& name);

/// Whether the device of `<system>/block`, or the whole disk that it is a partition of, is a CD or
/// DVD medium. False for a name that is not there.
bool ASFindWholeMedia(const std::string& systemFolder, const std::string& name);
