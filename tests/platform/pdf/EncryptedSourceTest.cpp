#include "tests/fakes/Program.h"
#include "tests/fakes/TestPDF.h"
#include "tests/platform/pdf/SourceTesting.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Kind = PDFError::Kind;
using Words = std::vector<std::string>;

/// How a file is encrypted: the revision of the standard security handler.
struct Encryption {
    const char* name;
    const char* bits;
    Words options;
};

std::ostream& operator<<(std::ostream& stream, const Encryption& encryption) {
    return stream << encryption.name;
}

class EncryptingTest : public SourceTesting {
protected:
    /// Three pages, encrypted by the qpdf program.
    Source encrypted(const std::string& user, const std::string& owner, const Encryption& how,
                     const Words& more = {}, const std::string& passwordMode = "auto") {
        const fs::path plain = tests::TestPDF("secret", 3).writeTo(m_folder / "plain.pdf");
        Words words{"--allow-weak-crypto",
                    "--password-mode=" + passwordMode,
                    "--encrypt",
                    user,
                    owner,
                    how.bits};
        words.insert(words.end(), how.options.begin(), how.options.end());
        words.insert(words.end(), more.begin(), more.end());
        words.insert(words.end(), {"--", plain.string(), (m_folder / "in.pdf").string()});
        const tests::ProgramResult result = tests::Program("qpdf", words).run();
        EXPECT_EQ(result.status, 0) << result.errors;
        return open(m_folder / "in.pdf");
    }
    static bool opens(const Source& source, const std::string& password) {
        const auto unlocked = source->unlocked(password);
        if (!unlocked) {
            EXPECT_EQ(unlocked.error().kind, Kind::wrongPassword);
            return false;
        }
        EXPECT_EQ((*unlocked)->pageCount(), 3U);
        EXPECT_EQ(widthOf(*unlocked, 2), 612);
        return true;
    }
};

const Encryption revision2{"R2", "40", {}};
const Encryption revision3{"R3", "128", {"--use-aes=n"}};
const Encryption revision4{"R4", "128", {"--use-aes=y"}};
const Encryption revision5{"R5", "256", {"--force-R5"}};
const Encryption revision6{"R6", "256", {}};

class EncryptedSource : public EncryptingTest, public testing::WithParamInterface<Encryption> {};

INSTANTIATE_TEST_SUITE_P(OfRevision, EncryptedSource,
                         testing::Values(revision2, revision3, revision4, revision5, revision6),
                         [](const auto& encryption) { return encryption.param.name; });

TEST_P(EncryptedSource, IsLockedUntilAPasswordIsGiven) {
    const Source locked = encrypted("user", "owner", GetParam());
    ASSERT_TRUE(locked);
    EXPECT_TRUE(locked->isLocked());
    EXPECT_TRUE(locked->isEncrypted());
    EXPECT_GE(locked->version(), (PDFVersion{1, 1}));
    EXPECT_EQ(locked->pageCount(), 0U);
    EXPECT_FALSE(locked->permissions().copying);
    EXPECT_FALSE(locked->permissions().printing);
    EXPECT_FALSE(locked->geometry(0).has_value());
    EXPECT_EQ(locked->takeReader().error().kind, Kind::locked);

    const auto unlocked = locked->unlocked("user");
    ASSERT_TRUE(unlocked.has_value());
    EXPECT_FALSE((*unlocked)->isLocked());
    EXPECT_TRUE((*unlocked)->isEncrypted());
    EXPECT_EQ((*unlocked)->pageCount(), 3U);
    EXPECT_EQ(widthOf(*unlocked, 2), 612);
    EXPECT_TRUE(locked->isLocked()) << "unlocking makes another source";
}

TEST_P(EncryptedSource, OpensWithEitherPasswordAndNoOther) {
    const Source locked = encrypted("user", "owner", GetParam());
    ASSERT_TRUE(locked);
    EXPECT_TRUE(opens(locked, "user"));
    EXPECT_TRUE(opens(locked, "owner"));
    for (const char* wrong : {"", "User", "user ", "ownerr", "use"}) {
        EXPECT_FALSE(opens(locked, wrong)) << wrong;
    }
    const PDFError error = locked->unlocked("wrong").error();
    EXPECT_EQ(error.file, m_folder / "in.pdf");
    EXPECT_EQ(error.reason, "the password does not open the file");
}

TEST_P(EncryptedSource, TellsTheOwnerFromTheUser) {
    const Source locked = encrypted("user", "owner", GetParam());
    ASSERT_TRUE(locked);
    EXPECT_FALSE((*locked->unlocked("user"))->ownerPasswordMatched());
    EXPECT_TRUE((*locked->unlocked("owner"))->ownerPasswordMatched());
}

TEST_P(EncryptedSource, WithoutAUserPasswordOpensForEverybody) {
    const Source source = encrypted("", "owner", GetParam(), {"--extract=n"});
    ASSERT_TRUE(source);
    EXPECT_FALSE(source->isLocked());
    EXPECT_TRUE(source->isEncrypted());
    EXPECT_EQ(source->pageCount(), 3U);
    EXPECT_FALSE(source->permissions().copying);
    const auto owned = source->unlocked("owner");
    ASSERT_TRUE(owned.has_value());
    EXPECT_TRUE((*owned)->permissions().copying);
}

TEST_P(EncryptedSource, KeepsOpeningAfterTheFileIsGone) {
    const Source locked = encrypted("user", "owner", GetParam());
    ASSERT_TRUE(locked);
    fs::remove(m_folder / "in.pdf");
    EXPECT_TRUE(opens(locked, "user"));
}

TEST_P(EncryptedSource, OpensWithAnAccentedPasswordInBothItsForms) {
    const Source locked = encrypted("caf\xc3\xa9", "\xc3\xbc\xc3\x9f", GetParam());
    ASSERT_TRUE(locked);
    EXPECT_TRUE(opens(locked, "caf\xc3\xa9"));
    EXPECT_TRUE(opens(locked, "cafe\xcc\x81")) << "the accent typed as a character of its own";
    EXPECT_TRUE(opens(locked, "\xc3\xbc\xc3\x9f"));
    EXPECT_FALSE(opens(locked, "cafe"));
}

class OldPasswords : public EncryptingTest {};

TEST_F(OldPasswords, OpenInWhateverEncodingTheirFileWasMade) {
    // PDFDocEncoding, Windows' and the Macintosh's.
    for (const auto& [bytes, typed] :
         {std::pair("a0", "\xe2\x82\xac"), std::pair("80", "\xe2\x82\xac"),
          std::pair("e9", "\xc3\xa9"), std::pair("8e", "\xc3\xa9")}) {
        const Source locked = encrypted(bytes, "6f776e6572", revision3, {}, "hex-bytes");
        ASSERT_TRUE(locked);
        EXPECT_TRUE(opens(locked, typed)) << bytes;
        EXPECT_TRUE(opens(locked, "owner"));
    }
}

class PreparedPasswords : public EncryptingTest {};

TEST_F(PreparedPasswords, OpenHoweverTheyWereTyped) {
    const Source locked = encrypted("IX", "owner", revision6);
    ASSERT_TRUE(locked);
    EXPECT_TRUE(opens(locked, "IX"));
    EXPECT_TRUE(opens(locked, "\xe2\x85\xa8")) << "the Roman numeral as one character";
    EXPECT_TRUE(opens(locked, "I\xc2\xadX")) << "with a soft hyphen";
    EXPECT_FALSE(opens(locked, "ix"));
}

TEST_F(PreparedPasswords, OfAnyScriptOpen) {
    for (const char* password : {"\xd0\xbf\xd0\xb0\xd1\x80\xd0\xbe\xd0\xbb\xd1\x8c",
                                 "\xe5\xaf\x86\xe7\xa0\x81", "\xf0\x9f\x94\x91 key"}) {
        const Source locked = encrypted(password, "owner", revision6);
        ASSERT_TRUE(locked);
        EXPECT_TRUE(opens(locked, password)) << password;
    }
}

class Permissions : public EncryptingTest {
protected:
    PDFPermissions with(const Encryption& how, const Words& restrictions) {
        const Source locked = encrypted("user", "owner", how, restrictions);
        if (!locked) {
            return {};
        }
        EXPECT_EQ((*locked->unlocked("owner"))->permissions(), PDFPermissions{})
            << "the owner may do everything";
        return (*locked->unlocked("user"))->permissions();
    }
};

TEST_F(Permissions, AreAllGrantedUnlessWithheld) {
    EXPECT_EQ(with(revision2, {}), PDFPermissions{});
    EXPECT_EQ(with(revision4, {}), PDFPermissions{});
    EXPECT_EQ(with(revision6, {}), PDFPermissions{});
}

TEST_F(Permissions, AreWithheldOneByOne) {
    for (const Encryption& how : {revision3, revision4, revision5, revision6}) {
        PDFPermissions expected;
        expected.copying = false;
        EXPECT_EQ(with(how, {"--extract=n"}), expected) << how;

        expected = {};
        expected.printingHighRes = false;
        EXPECT_EQ(with(how, {"--print=low"}), expected) << how;
        expected.printing = false;
        EXPECT_EQ(with(how, {"--print=none"}), expected) << how;

        expected = {};
        expected.assembly = false;
        EXPECT_EQ(with(how, {"--assemble=n"}), expected) << how;

        expected = {};
        expected.modifying = false;
        EXPECT_EQ(with(how, {"--modify-other=n"}), expected) << how;

        expected = {};
        expected.annotating = false;
        EXPECT_EQ(with(how, {"--annotate=n"}), expected) << how;
    }
}

TEST_F(Permissions, OfTheOldestFilesAreFour) {
    EXPECT_FALSE(with(revision2, {"--print=n"}).printing);
    EXPECT_FALSE(with(revision2, {"--extract=n"}).copying);
    EXPECT_FALSE(with(revision2, {"--modify=n"}).modifying);
    EXPECT_FALSE(with(revision2, {"--annotate=n"}).annotating);
}

TEST_F(EncryptingTest, PlainSourceOpensWithAnyPassword) {
    const Source plain = open(tests::TestPDF("plain", 3).writeTo(m_folder / "in.pdf"));
    ASSERT_TRUE(plain);
    EXPECT_TRUE(opens(plain, "anything"));
    EXPECT_TRUE(opens(plain, ""));
}

TEST_F(EncryptingTest, AFileLockedInAWayNobodyKnowsIsRefusedWithAReason) {
    tests::RawPDF pdf;
    pdf.object(1, catalogBody).object(2, nodeBody("3 0 R", 1)).object(3, pageBody(2, 300));
    pdf.trailer("/ID [(a) (b)] /Encrypt << /Filter /Adobe.PubSec /V 4 >>");
    const PDFError error = errorOf(pdf.writeTo(m_folder / "in.pdf"));
    EXPECT_EQ(error.kind, Kind::notPDF);
    EXPECT_FALSE(error.reason.empty());
}

} // namespace
} // namespace quillorn
