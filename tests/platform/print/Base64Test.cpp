#include "platform/print/Base64.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace quillorn {
namespace {

TEST(Base64, IsThatOfTheStandard) {
    // RFC 4648, section 10
    EXPECT_EQ(toBase64(""), "");
    EXPECT_EQ(toBase64("f"), "Zg==");
    EXPECT_EQ(toBase64("fo"), "Zm8=");
    EXPECT_EQ(toBase64("foo"), "Zm9v");
    EXPECT_EQ(toBase64("foob"), "Zm9vYg==");
    EXPECT_EQ(toBase64("fooba"), "Zm9vYmE=");
    EXPECT_EQ(toBase64("foobar"), "Zm9vYmFy");
}

TEST(Base64, GivesEveryByteBack) {
    std::string bytes;
    for (int i = 0; i < 1000; ++i) {
        bytes += static_cast<char>(i * 7);
        EXPECT_EQ(fromBase64(toBase64(bytes)), bytes);
    }
}

TEST(Base64, RefusesWhatIsNone) {
    for (const char* const text :
         {"Z", "Zg", "Zg=", "Z===", "====", "Zm9v!A==", "Z=9v", "Zg==Zg==", "Zm 9v", "Zm9v\n"}) {
        EXPECT_EQ(fromBase64(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace quillorn
