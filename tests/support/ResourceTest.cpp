#include "support/CASResourceLoad.h"

#include "LogCapture.h"
#include "Pictures.h"
#include "TemporaryFolder.h"

#include "support/ASPlatform.h"
#include "support/CGImage.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <string>

namespace {

class Resources : public testing::Test {
protected:
    Resources() { ASSetResourceFolder(m_folder.path().c_str()); }
    ~Resources() override { ASSetResourceFolder(nullptr); }
    TemporaryFolder m_folder;
    CASResourceData m_data;
};

class Loader : public CASResourceLoad {
public:
    using CASResourceLoad::operator=;
    explicit Loader(const char* folder) : CASResourceLoad("not used"), m_subfolder(folder) {}
    const char* getResourceName(uint32_t id) override {
        return id == 1 ? "picture.png" : id == 2 ? "text" : nullptr;
    }
    const char* getResourcePathName() override { return m_subfolder; }

private:
    const char* m_subfolder;
};

constexpr auto unknownType = static_cast<ASResourceType>(1);

} // namespace

TEST_F(Resources, NewDataIsZero) {
    EXPECT_EQ(m_data.data, nullptr);
    EXPECT_EQ(m_data.size, 0U);
    EXPECT_EQ(m_data.resourceID, 0U);
    EXPECT_EQ(m_data.type, ASResourceTypeImage);
}

TEST_F(Resources, BaseClassFindsNoResource) {
    const LogCapture log;
    CASResourceLoad loader(nullptr);
    EXPECT_EQ(loader.getResourceName(1), nullptr);
    EXPECT_EQ(loader.getResourcePathName(), nullptr);
    EXPECT_FALSE(loader.ASLoadResource(42, ASResourceTypePath, &m_data));
    EXPECT_EQ(log.lines(), LogLines{"ERR:Can't find resource Name 42"});
    EXPECT_EQ(m_data.resourceID, 0U);
}

TEST_F(Resources, MissingResultIsReported) {
    const LogCapture log;
    EXPECT_FALSE(Loader(nullptr).ASLoadResource(1, ASResourceTypePath, nullptr));
    EXPECT_EQ(log.lines(), LogLines{"ERR:Error Input parameter @pResData."});
}

TEST_F(Resources, PathIsTheFileInTheResourceFolder) {
    EXPECT_TRUE(Loader(nullptr).ASLoadResource(2, ASResourceTypePath, &m_data));
    const std::string expected = m_folder / "text";
    EXPECT_EQ(static_cast<char*>(m_data.data), expected);
    EXPECT_EQ(m_data.size, expected.size() + 1);
    EXPECT_EQ(m_data.resourceID, 2U);
    EXPECT_EQ(m_data.type, ASResourceTypePath);
}

TEST_F(Resources, SubfolderStandsBetweenFolderAndName) {
    EXPECT_TRUE(Loader("sub").ASLoadResource(2, ASResourceTypePath, &m_data));
    EXPECT_EQ(static_cast<char*>(m_data.data), m_folder / "sub/text");
}

TEST_F(Resources, ImageIsLoadedAndNullWhenUnreadable) {
    EXPECT_TRUE(Loader(nullptr).ASLoadResource(1, ASResourceTypeImage, &m_data));
    EXPECT_EQ(m_data.data, nullptr);
    WritePNG(m_folder / "picture.png");
    EXPECT_TRUE(Loader(nullptr).ASLoadResource(1, ASResourceTypeImage, &m_data));
    ASSERT_NE(m_data.data, nullptr);
    EXPECT_EQ(static_cast<CGImageRef>(m_data.data)->width(), 4);
    EXPECT_EQ(m_data.size, 0U);
    EXPECT_EQ(m_data.type, ASResourceTypeImage);
}

TEST_F(Resources, UnknownTypeIsReportedAfterTheResultIsMarked) {
    const LogCapture log;
    m_data.size = 9;
    EXPECT_FALSE(Loader(nullptr).ASLoadResource(1, unknownType, &m_data));
    EXPECT_EQ(log.lines(), LogLines{"ERR:Unimpliment resource type."});
    EXPECT_EQ(m_data.type, unknownType);
    EXPECT_EQ(m_data.resourceID, 1U);
    EXPECT_EQ(m_data.size, 0U);
}

TEST_F(Resources, LoadingAgainGivesBackWhatWasHeld) {
    WritePNG(m_folder / "picture.png");
    Loader loader(nullptr);
    for (const auto type : {ASResourceTypeImage, ASResourceTypePath, ASResourceTypePath,
                            ASResourceTypeImage, unknownType, ASResourceTypePath})
        EXPECT_EQ(loader.ASLoadResource(1, type, &m_data), type != unknownType);
}

TEST_F(Resources, FolderBesideTheExecutableIsTheDefault) {
    EXPECT_EQ(ASGetResourceFolder(), m_folder.path());
    ASSetResourceFolder((m_folder.path() + "//").c_str());
    EXPECT_EQ(ASGetResourceFolder(), m_folder.path());
    ASSetResourceFolder(nullptr);
    const auto executable = std::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(ASGetResourceFolder(), (executable.parent_path() / "Resources").string());
}
