#include "tests/corpus/Corpus.h"
#include "tests/corpus/Handling.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace quillorn::corpus {
namespace {

/// Only files up to this many bytes are damaged again and again.
constexpr std::uintmax_t smallFile = 20'000;

constexpr std::size_t evenTruncations = 24;
constexpr std::size_t damagedBytes = 48;

std::string bytesOf(const std::filesystem::path& file) {
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return bytes.str();
}

std::vector<Document> smallGoodDocuments() {
    std::vector<Document> documents = Corpus::get().documents("pdf");
    std::ranges::move(Corpus::get().documents("pdf-encrypted"), std::back_inserter(documents));
    std::erase_if(documents, [](const Document& document) {
        std::error_code error;
        const auto size = std::filesystem::file_size(document.file, error);
        return error || size > smallFile;
    });
    return documents;
}

class DamagedDocument : public testing::TestWithParam<Document> {};

TEST_P(DamagedDocument, IsComposedOrRefusedWithAMessage) {
    EXPECT_EQ(misbehaviourWith(GetParam()), "");
}

class SmallDocument : public testing::TestWithParam<Document> {};

TEST_P(SmallDocument, IsComposedOrRefusedWhereverItIsCutOff) {
    const std::string whole = bytesOf(GetParam().file);
    std::set<std::size_t> lengths;
    for (std::size_t i = 1; i <= evenTruncations; ++i) {
        lengths.insert(whole.size() * i / (evenTruncations + 1));
    }
    // What downloads and mail lose most often is the end.
    for (const std::size_t lost : {1U, 2U, 6U, 7U, 20U, 60U, 200U}) {
        lengths.insert(whole.size() - std::min(lost, whole.size()));
    }
    for (const std::size_t length : lengths) {
        EXPECT_EQ(misbehaviourWith(whole.substr(0, length), GetParam()), "")
            << "cut off after " << length << " bytes";
    }
}

TEST_P(SmallDocument, IsComposedOrRefusedWithAnyByteDamaged) {
    const std::string whole = bytesOf(GetParam().file);
    ASSERT_FALSE(whole.empty());
    std::mt19937 random(20'240'229); // any number, but the same damage in every run
    for (std::size_t i = 0; i < damagedBytes; ++i) {
        std::string damaged = whole;
        const std::size_t place = random() % whole.size();
        const auto change = static_cast<char>(1 + random() % 255);
        damaged[place] = static_cast<char>(damaged[place] ^ change);
        EXPECT_EQ(misbehaviourWith(damaged, GetParam()), "")
            << "byte " << place << " combined with " << static_cast<int>(change);
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, DamagedDocument,
                         testing::ValuesIn(Corpus::get().documents("pdf-damaged")),
                         [](const auto& instance) { return testName(instance.param); });
INSTANTIATE_TEST_SUITE_P(Corpus, SmallDocument, testing::ValuesIn(smallGoodDocuments()),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::corpus
