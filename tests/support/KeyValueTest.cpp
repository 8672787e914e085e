#include "support/CASFileManager.h"

#include "Environment.h"
#include "FreshProcess.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

// A settings folder of the test's own.
class KeyValue : public testing::Test {
protected:
    KeyValue() { m_environment.set("XDG_CONFIG_HOME", m_folder.path()); }
    std::string globalFile() const { return m_folder / "quillorn-support/global.plist"; }

    TemporaryFolder m_folder;
    CASFileManager m_files;

private:
    Environment m_environment;
};

} // namespace

TEST_F(KeyValue, StoredTextIsFoundAgain) {
    EXPECT_EQ(m_files.GetKeyValue("k"), nullptr);
    EXPECT_TRUE(m_files.SetKeyValue("value", "k"));
    EXPECT_STREQ(m_files.GetKeyValue("k"), "value");
    EXPECT_TRUE(m_files.SetKeyValue("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x93\x84", "\xC3\xBC"));
    EXPECT_STREQ(m_files.GetKeyValue("\xC3\xBC"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x93\x84");
    EXPECT_TRUE(m_files.SetKeyValue("", "k"));
    EXPECT_STREQ(m_files.GetKeyValue("k"), "");
}

TEST_F(KeyValue, TextSurvivesTheProcess) {
    InFreshProcess([&] { EXPECT_TRUE(m_files.SetKeyValue("kept", "k")); });
    EXPECT_STREQ(m_files.GetKeyValue("k"), "kept");
}

TEST_F(KeyValue, StoredBytesAreFoundAgain) {
    std::vector<unsigned char> data(16);
    std::iota(data.begin(), data.end(), 0);
    std::vector<unsigned char> read(16, 0xFF);
    EXPECT_FALSE(m_files.GetKeyValue(read.data(), 16, "k"));
    EXPECT_TRUE(m_files.SetKeyValue(data.data(), 16, "k"));
    EXPECT_TRUE(m_files.GetKeyValue(read.data(), 16, "k"));
    EXPECT_EQ(read, data);
}

TEST_F(KeyValue, FewerAndMoreBytesThanStoredMayBeAskedFor) {
    EXPECT_TRUE(m_files.SetKeyValue("abcdef", uint32_t{6}, "k"));
    char read[9] = "--------";
    EXPECT_TRUE(m_files.GetKeyValue(read, 2, "k"));
    EXPECT_STREQ(read, "ab------");
    EXPECT_TRUE(m_files.GetKeyValue(read, 8, "k"));
    EXPECT_STREQ(read, "abcdef--");
    EXPECT_TRUE(m_files.GetKeyValue(nullptr, 0, "k"));
}

TEST_F(KeyValue, EmptyValueIsAValue) {
    EXPECT_TRUE(m_files.SetKeyValue(nullptr, uint32_t{0}, "k"));
    EXPECT_TRUE(m_files.GetKeyValue(nullptr, 0, "k"));
}

TEST_F(KeyValue, RemovedBytesAreGoneAndOthersStay) {
    EXPECT_TRUE(m_files.SetKeyValue("a", uint32_t{1}, "a"));
    EXPECT_TRUE(m_files.SetKeyValue("b", uint32_t{1}, "b"));
    EXPECT_TRUE(m_files.RemoveKeyValue("a"));
    EXPECT_TRUE(m_files.RemoveKeyValue("never there"));
    char byte = 0;
    EXPECT_FALSE(m_files.GetKeyValue(&byte, 1, "a"));
    EXPECT_TRUE(m_files.GetKeyValue(&byte, 1, "b"));
}

TEST_F(KeyValue, TextsAndBytesAreSeparateStores) {
    EXPECT_TRUE(m_files.SetKeyValue("text", "k"));
    EXPECT_TRUE(m_files.SetKeyValue("bytes", uint32_t{5}, "k"));
    EXPECT_TRUE(m_files.RemoveKeyValue("k"));
    EXPECT_STREQ(m_files.GetKeyValue("k"), "text");
}

TEST_F(KeyValue, NullsDoNothing) {
    char byte = 0;
    EXPECT_FALSE(m_files.SetKeyValue(nullptr, "k"));
    EXPECT_FALSE(m_files.SetKeyValue("v", nullptr));
    EXPECT_EQ(m_files.GetKeyValue(nullptr), nullptr);
    EXPECT_FALSE(m_files.SetKeyValue(nullptr, 4, "k"));
    EXPECT_FALSE(m_files.SetKeyValue("v", uint32_t{1}, nullptr));
    EXPECT_FALSE(m_files.GetKeyValue(&byte, 1, nullptr));
    EXPECT_FALSE(m_files.GetKeyValue(nullptr, 1, "k"));
    EXPECT_FALSE(m_files.RemoveKeyValue(nullptr));
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
}

TEST_F(KeyValue, TextThatIsNotUTF8IsRefused) {
    for (const char* text : {"\xFF", "a\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                             "\xE0\x80\x80", "\xF0\x80\x80\x80", "\x80", "\xE2\x82"}) {
        EXPECT_FALSE(m_files.SetKeyValue(text, "k"));
        EXPECT_FALSE(m_files.SetKeyValue("v", text));
    }
    EXPECT_EQ(m_files.GetKeyValue("k"), nullptr);
}

TEST_F(KeyValue, DamagedStoreReadsAsEmptyAndIsStartedAnew) {
    char byte = 0;
    for (const char* damage : {"", "bplist00", "<plist><dict><key>k", "<plist><array/></plist>",
                               "bplist00\xD1\x01\x02\xFF\xFF\xFF\xFF"}) {
        m_folder.write("quillorn-support/global.plist", damage);
        EXPECT_FALSE(m_files.GetKeyValue(&byte, 1, "k")) << damage;
        EXPECT_TRUE(m_files.RemoveKeyValue("k"));
        EXPECT_TRUE(m_files.SetKeyValue("x", uint32_t{1}, "k"));
        EXPECT_TRUE(m_files.GetKeyValue(&byte, 1, "k"));
    }
}

TEST_F(KeyValue, ValuesOfAnotherKindAreNotFound) {
    m_folder.write("quillorn-support/global.plist",
                   "<plist version=\"1.0\"><dict><key>k</key><string>text</string></dict></plist>");
    char byte = 0;
    EXPECT_FALSE(m_files.GetKeyValue(&byte, 1, "k"));
}

TEST_F(KeyValue, UnreadableStoreIsLeftAlone) {
    EXPECT_TRUE(m_files.SetKeyValue("old", uint32_t{3}, "k"));
    const std::string before = ReadFile(globalFile());
    ASSERT_EQ(chmod(globalFile().c_str(), 0), 0);
    const std::string lock = globalFile() + ".lock";
    ASSERT_EQ(chmod(lock.c_str(), 0666), 0);
    AsOrdinaryUser([&] {
        CASFileManager files;
        char read[3] = {};
        EXPECT_FALSE(files.GetKeyValue(read, 3, "k"));
        EXPECT_FALSE(files.SetKeyValue("new", uint32_t{3}, "k"));
    });
    ASSERT_EQ(chmod(globalFile().c_str(), 0600), 0);
    EXPECT_EQ(ReadFile(globalFile()), before);
}

TEST_F(KeyValue, StoreInAFolderThatCannotBeWrittenStaysAsItIs) {
    EXPECT_TRUE(m_files.SetKeyValue("old", uint32_t{3}, "k"));
    const std::string before = ReadFile(globalFile());
    const std::string lock = globalFile() + ".lock";
    const std::filesystem::path folder = std::filesystem::path(lock).parent_path();
    for (const auto& [path, mode] :
         {std::pair(lock, mode_t{0666}), {globalFile(), 0666}, {folder.string(), 0555}}) {
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
    }
    AsOrdinaryUser([&] {
        CASFileManager files;
        EXPECT_FALSE(files.SetKeyValue("new", uint32_t{3}, "k"));
    });
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    EXPECT_EQ(ReadFile(globalFile()), before);
}

TEST_F(KeyValue, StoreThatHasNoRoomToGrowStaysAsItIs) {
    EXPECT_TRUE(m_files.SetKeyValue("old", uint32_t{3}, "k"));
    const std::string before = ReadFile(globalFile());
    ASSERT_FALSE(before.empty());
    InFreshProcess([&] {
        std::signal(SIGXFSZ, SIG_IGN); // the write fails instead
        rlimit limit{};
        ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
        const rlim_t usual = std::exchange(limit.rlim_cur, before.size());
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        constexpr uint32_t size = 50;
        const std::string longer(size, 'x');
        const bool isKept = m_files.SetKeyValue(longer.data(), size, "k");
        limit.rlim_cur = usual;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0); // what the test says needs room, too
        EXPECT_FALSE(isKept);
    });
    EXPECT_EQ(ReadFile(globalFile()), before);
    std::vector<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(m_folder / "quillorn-support"))
        names.push_back(file.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"global.plist", "global.plist.lock"}));
}

TEST_F(KeyValue, FolderThatCannotBeMadeFails) {
    Environment environment;
    environment.set("XDG_CONFIG_HOME", m_folder.write("file", ""));
    EXPECT_FALSE(m_files.SetKeyValue("v", "k"));
    EXPECT_EQ(m_files.GetKeyValue("k"), nullptr);
    EXPECT_FALSE(m_files.SetKeyValue("v", uint32_t{1}, "k"));
}

TEST_F(KeyValue, WritersAtTheSameTimeLoseNothing) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            CASFileManager files;
            for (int i = 0; i < 10; ++i) {
                const std::string key = std::to_string(t) + "-" + std::to_string(i);
                EXPECT_TRUE(files.SetKeyValue(key.data(), 3, key.c_str()));
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    char read[4] = {};
    for (int t = 0; t < 4; ++t) {
        for (int i = 0; i < 10; ++i) {
            const std::string key = std::to_string(t) + "-" + std::to_string(i);
            EXPECT_TRUE(m_files.GetKeyValue(read, 3, key.c_str()));
            EXPECT_EQ(read, key);
        }
    }
}
