#include "support/CASFileManager.h"

#include "LogCapture.h"
#include "TemporaryFolder.h"

#include "support/ASPlatform.h"
#include "support/detail/BlockMedia.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

// A device tree in which the temporary folder's own volume is whatever a test wants it to be.
class FakeSystem {
public:
    FakeSystem() { ASSetSystemFolder(m_folder.path().c_str()); }
    ~FakeSystem() { ASSetSystemFolder(nullptr); }
    FakeSystem(const FakeSystem&) = delete;
    FakeSystem& operator=(const FakeSystem&) = delete;

    void addDisk(const std::string& name, int scsiType) const {
        m_folder.write("block/" + name + "/dev", "1:1\n");
        m_folder.write("block/" + name + "/device/type", std::to_string(scsiType) + "\n");
    }
    void addPartition(const std::string& disk, const std::string& name) const {
        m_folder.write("block/" + disk + "/" + name + "/dev", "1:2\n");
        m_folder.write("block/" + disk + "/" + name + "/partition", "1\n");
    }
    /// Says that the volume of this tree is the device of that name.
    void mount(const std::string& name) const {
        struct stat status = {};
        ASSERT_EQ(stat(m_folder.path().c_str(), &status), 0);
        fs::create_directories(m_folder / "dev/block");
        fs::create_symlink("../../devices/" + name,
                           m_folder / ("dev/block/" + std::to_string(major(status.st_dev)) + ":" +
                                       std::to_string(minor(status.st_dev))));
    }
    std::string path() const { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
};

constexpr int disk = 0;
constexpr int optical = 5;

} // namespace

TEST(Media, WholeDiscIsOptical) {
    const FakeSystem system;
    system.addDisk("sr0", optical);
    system.mount("sr0");
    CASFileManager files;
    EXPECT_TRUE(files.isCDMediaPath(system.path().c_str()));
}

TEST(Media, PartitionOfADiscIsOptical) {
    const FakeSystem system;
    system.addDisk("sda", disk);
    system.addDisk("sr0", optical);
    system.addPartition("sr0", "sr0p1");
    system.mount("sr0p1");
    CASFileManager files;
    EXPECT_TRUE(files.isCDMediaPath(system.path().c_str()));
}

TEST(Media, HardDisksAndTheirPartitionsAreNot) {
    for (const char* device : {"sda", "sda1"}) {
        const FakeSystem system;
        system.addDisk("sda", disk);
        system.addPartition("sda", "sda1");
        system.mount(device);
        CASFileManager files;
        EXPECT_FALSE(files.isCDMediaPath(system.path().c_str()));
    }
}

TEST(Media, DeviceThatIsNotInTheTreeIsNotOptical) {
    const LogCapture log;
    const FakeSystem system;
    system.mount("sr7");
    CASFileManager files;
    EXPECT_FALSE(files.isCDMediaPath(system.path().c_str()));
    EXPECT_EQ(log.lines(), LogLines{});
}

TEST(Media, DriveWithoutAKnownTypeIsNotOptical) {
    const FakeSystem system;
    system.addDisk("vda", disk);
    system.mount("vda");
    fs::remove_all(system.path() + "/block/vda/device");
    CASFileManager files;
    EXPECT_FALSE(files.isCDMediaPath(system.path().c_str()));
}

TEST(Media, RootFolderFallsBackToTrueWhenItsLookupFails) {
    const LogCapture log;
    const FakeSystem system;
    CASFileManager files;
    EXPECT_TRUE(files.isCDMediaPath("/"));
    EXPECT_EQ(log.lines(), LogLines{"WAR:PBHGetVolParmsSync returned " + std::to_string(ENOENT)});
}

TEST(Media, FallbackLooksForThePathInTheFixedText) {
    CASFileManager files;
    EXPECT_FALSE(files.isCDMediaPath("/Volumes/Disc"));
    EXPECT_TRUE(files.isCDMediaPath("/Volumes/"));
    EXPECT_TRUE(files.isCDMediaPath("lumes"));
    EXPECT_FALSE(files.isCDMediaPath("lumes/x"));
}

TEST(Media, NullAndEmptyPathsAreNotOptical) {
    CASFileManager files;
    EXPECT_FALSE(files.isCDMediaPath(nullptr));
    EXPECT_FALSE(files.isCDMediaPath(""));
}

TEST(Media, DeviceNameTooLongIsCutAndReported) {
    const LogCapture log;
    const FakeSystem system;
    const std::string cut(255, 'd');
    system.addDisk(cut, optical);
    system.mount(cut + "ropped");
    CASFileManager files;
    EXPECT_TRUE(files.isCDMediaPath(system.path().c_str()));
    EXPECT_EQ(log.lines(), LogLines{"WAR:too longer device bsdname."});
}

TEST(Media, NetworkFileSystemsAreKnownByTheirType) {
    EXPECT_TRUE(ASIsNetworkFileSystem(0x6969));
    EXPECT_TRUE(ASIsNetworkFileSystem(0xFF534D42));
    EXPECT_FALSE(ASIsNetworkFileSystem(0xEF53));
}
