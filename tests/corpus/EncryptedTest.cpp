#include "platform/pdf/PDFDocument.h"
#include "tests/corpus/Corpus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace quillorn::corpus {
namespace {

class EncryptedDocument : public testing::TestWithParam<Document> {
protected:
    void SetUp() override {
        auto opened = PDFSource::open(GetParam().file);
        ASSERT_TRUE(opened) << opened.error().reason;
        m_source = std::move(*opened);
    }

    [[nodiscard]] const PDFSource& source() const { return *m_source; }

private:
    std::shared_ptr<const PDFSource> m_source;
};

bool needsAPassword(const Document& document) {
    return std::ranges::any_of(document.passwords, [](const KnownPassword& password) {
        return password.kind == KnownPassword::Kind::user;
    });
}

TEST_P(EncryptedDocument, SaysThatItIsEncrypted) {
    EXPECT_TRUE(source().isEncrypted());
    if (needsAPassword(GetParam())) {
        EXPECT_TRUE(source().isLocked() || source().pageCount() > 0);
    }
    EXPECT_EQ(source().isLocked(), source().pageCount() == 0);
}

TEST_P(EncryptedDocument, OpensWithEveryKnownPassword) {
    for (const KnownPassword& password : GetParam().passwords) {
        const auto unlocked = source().unlocked(password.text);
        ASSERT_TRUE(unlocked) << password.text << ": " << unlocked.error().reason;
        EXPECT_FALSE((*unlocked)->isLocked());
        EXPECT_GT((*unlocked)->pageCount(), 0U);
        if (password.kind == KnownPassword::Kind::owner) {
            EXPECT_TRUE((*unlocked)->ownerPasswordMatched()) << password.text;
            EXPECT_EQ((*unlocked)->permissions(), PDFPermissions{}) << password.text;
        }
    }
}

TEST_P(EncryptedDocument, StaysLockedWithAWrongPassword) {
    if (!source().isLocked()) {
        EXPECT_GT(source().pageCount(), 0U);
        return;
    }
    const auto unlocked = source().unlocked("certainly not the password");
    ASSERT_FALSE(unlocked);
    EXPECT_EQ(unlocked.error().kind, PDFError::Kind::wrongPassword);
    EXPECT_NE(unlocked.error().reason, "");
}

INSTANTIATE_TEST_SUITE_P(Corpus, EncryptedDocument,
                         testing::ValuesIn(Corpus::get().documents("pdf-encrypted")),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::corpus
