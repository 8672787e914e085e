#include "platform/pdf/DescriptorInputSource.h"
#include "tests/fakes/TemporaryFolder.h"

#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

namespace quillorn {
namespace {

class InputSource : public testing::Test {
protected:
    DescriptorInputSource sourceOf(const std::string& content) {
        tests::writeFile(m_folder / "file", content);
        auto file = FileDescriptor::openRegularFile(m_folder / "file");
        EXPECT_TRUE(file.has_value());
        return DescriptorInputSource(std::make_shared<const FileDescriptor>(std::move(*file)),
                                     "file", content.size());
    }

    static std::string read(DescriptorInputSource& source, std::size_t length) {
        std::string text(length, '\0');
        text.resize(source.read(text.data(), length));
        return text;
    }

    tests::TemporaryFolder m_folder;
};

TEST_F(InputSource, ReadsAnyPieceOfTheFile) {
    std::string content;
    for (int i = 0; content.size() < 200'000; ++i) {
        content += std::to_string(i) + (i % 7 == 0 ? "\n" : " ");
    }
    DescriptorInputSource source = sourceOf(content);
    std::minstd_rand random(1);
    for (int i = 0; i < 5'000; ++i) {
        // Small steps back and forth, long streams, and both across the windows' edges.
        const std::size_t offset = random() % (content.size() + 100);
        const std::size_t length = random() % (i % 10 == 0 ? 60'000 : 200);
        source.seek(static_cast<qpdf_offset_t>(offset), SEEK_SET);
        const std::string expected =
            offset < content.size() ? content.substr(offset, length) : std::string();
        ASSERT_EQ(read(source, length), expected) << offset << " " << length;
        ASSERT_EQ(source.tell(), static_cast<qpdf_offset_t>(offset + expected.size()));
        ASSERT_EQ(source.getLastOffset(), static_cast<qpdf_offset_t>(offset));
    }
}

TEST_F(InputSource, PutsACharacterBack) {
    DescriptorInputSource source = sourceOf("abc");
    EXPECT_EQ(read(source, 2), "ab");
    source.unreadCh('b');
    EXPECT_EQ(read(source, 2), "bc");
    EXPECT_EQ(read(source, 2), "");
    source.rewind();
    EXPECT_EQ(read(source, 9), "abc");
}

TEST_F(InputSource, FindsLineEndsOfEveryKind) {
    DescriptorInputSource source = sourceOf("one\ntwo\r\nthree\r\r\n\nfour");
    EXPECT_EQ(source.findAndSkipNextEOL(), 3);
    EXPECT_EQ(source.tell(), 4);
    EXPECT_EQ(source.findAndSkipNextEOL(), 7);
    EXPECT_EQ(source.tell(), 9);
    EXPECT_EQ(source.findAndSkipNextEOL(), 14);
    EXPECT_EQ(read(source, 4), "four");
    EXPECT_EQ(source.findAndSkipNextEOL(), 22);
    EXPECT_EQ(source.tell(), 22);
}

TEST_F(InputSource, FindsLineEndsAcrossItsWindows) {
    for (const std::size_t before : {16'383U, 16'384U, 16'385U, 40'000U}) {
        DescriptorInputSource source = sourceOf(std::string(before, 'x') + "\r\n\r\nend");
        EXPECT_EQ(source.findAndSkipNextEOL(), static_cast<qpdf_offset_t>(before));
        EXPECT_EQ(read(source, 9), "end");
    }
    DescriptorInputSource ends = sourceOf(std::string(20'000, '\n') + "end");
    EXPECT_EQ(ends.findAndSkipNextEOL(), 0);
    EXPECT_EQ(read(ends, 9), "end");
}

TEST_F(InputSource, SeeksFromBothEndsAndFromHere) {
    DescriptorInputSource source = sourceOf("0123456789");
    source.seek(-3, SEEK_END);
    EXPECT_EQ(read(source, 2), "78");
    source.seek(-4, SEEK_CUR);
    EXPECT_EQ(read(source, 2), "56");
    source.seek(50, SEEK_SET);
    EXPECT_EQ(source.tell(), 50);
    EXPECT_EQ(read(source, 2), "");
}

TEST_F(InputSource, RefusesToSeekWhereNoFileCanBe) {
    DescriptorInputSource source = sourceOf("0123456789");
    source.seek(5, SEEK_SET);
    EXPECT_THROW(source.seek(-1, SEEK_SET), std::runtime_error);
    EXPECT_THROW(source.seek(-6, SEEK_CUR), std::runtime_error);
    EXPECT_THROW(source.seek(-11, SEEK_END), std::runtime_error);
    constexpr qpdf_offset_t largest = std::numeric_limits<qpdf_offset_t>::max();
    EXPECT_THROW(source.seek(largest, SEEK_CUR), std::runtime_error);
    EXPECT_THROW(source.seek(largest, SEEK_END), std::runtime_error);
    EXPECT_EQ(read(source, 2), "56");
}

TEST_F(InputSource, FailsWhereTheFileWasCutShort) {
    DescriptorInputSource source = sourceOf(std::string(100'000, 'x'));
    std::filesystem::resize_file(m_folder / "file", 30'000);
    EXPECT_EQ(read(source, 20'000), std::string(20'000, 'x'));
    source.seek(29'000, SEEK_SET);
    EXPECT_THROW(static_cast<void>(read(source, 5'000)), std::runtime_error);
    EXPECT_THROW(static_cast<void>(read(source, 50'000)), std::runtime_error);
    source.seek(90'000, SEEK_SET);
    EXPECT_THROW(source.findAndSkipNextEOL(), std::runtime_error);
}

TEST_F(InputSource, ReadsNothingBeyondTheSizeThatWasOpened) {
    tests::writeFile(m_folder / "file", "0123456789");
    auto file = FileDescriptor::openRegularFile(m_folder / "file");
    ASSERT_TRUE(file.has_value());
    DescriptorInputSource source(std::make_shared<const FileDescriptor>(std::move(*file)), "file",
                                 6);
    EXPECT_EQ(read(source, 100), "012345");
    source.seek(4, SEEK_SET);
    EXPECT_EQ(read(source, 100'000), "45");
    EXPECT_EQ(source.findAndSkipNextEOL(), 6);
}

} // namespace
} // namespace quillorn
