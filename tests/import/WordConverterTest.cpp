#include "import/WordConverter.h"

#include "import/HTMtoPDF.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TemporaryFolder.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class WordConverterTest : public testing::Test {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
    WordConverterTest() { fs::create_directory(folder / "cache"); }

    const TemporaryFolder folder;
    const fs::path cache = folder / "cache";
    WebPageConverter html{{cache, false}};
    WordConverter converter{html, {cache}};
};

TEST_F(WordConverterTest, WhatItCannotReadIsRefusedAndLeavesNothing) {
    writeFile(cache / "It's Q1.doc", "an earlier one");
    writeFile(folder / "It's Q1.doc", "no Word document");
    const auto pdf = converter.doc2PDF((folder / "It's Q1.doc").string());
    ASSERT_FALSE(pdf);
    EXPECT_EQ(pdf.error().message, "It's Q1.doc is not a legal file.");
    EXPECT_THAT(pdf.error().reason, HasSubstr("wvCommand cannot read it"));
    EXPECT_THAT(namesIn(cache), IsEmpty());
    EXPECT_FALSE(converter.doc2PDF((folder / "gone.doc").string()));
}

} // namespace
} // namespace quillorn::tests
