#include "platform/pdf/PDFSource.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/Handling.h"
#include "tests/fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iomanip>
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

TEST(PageCount, IsNotBelievedWhenTheFileCannotHoldSoManyPages) {
    const std::string body = "%PDF-1.4\n1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n"
                             "2 0 obj\n<</Type/Pages/Kids[3 0 R]/Count 9999999999>>\nendobj\n"
                             "3 0 obj\n<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>\nendobj\n";
    std::ostringstream file;
    file << body << "xref\n0 4\n0000000000 65535 f \n" << std::setfill('0');
    for (const char* object : {"1 0 obj", "2 0 obj", "3 0 obj"}) {
        file << std::setw(10) << body.find(object) << " 00000 n \n";
    }
    file << "trailer\n<</Size 4/Root 1 0 R>>\nstartxref\n" << body.size() << "\n%%EOF\n";

    const tests::TemporaryFolder folder;
    std::ofstream(folder.path() / "input.pdf", std::ios::binary) << file.str();
    const auto source = PDFSource::open(folder.path() / "input.pdf");
    ASSERT_TRUE(source) << source.error().reason;
    EXPECT_TRUE((*source)->warnings().empty());
    EXPECT_EQ((*source)->pageCount(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Corpus, DamagedDocument,
                         testing::ValuesIn(Corpus::get().documents("pdf-damaged")),
                         [](const auto& instance) { return testName(instance.param); });
INSTANTIATE_TEST_SUITE_P(Corpus, SmallDocument, testing::ValuesIn(smallGoodDocuments()),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::corpus
