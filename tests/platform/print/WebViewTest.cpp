#include "tests/platform/print/WebFixture.h"

#include <gmock/gmock.h>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

class WebViewTest : public WebFixture {};

TEST_F(WebViewTest, PrintsAPage) {
    EXPECT_THAT(printed("<!DOCTYPE html><title>t</title><p>Good morning</p>"),
                HasSubstr("Good morning"));
    EXPECT_EQ(complaintsAbout(output), "");
}

} // namespace
} // namespace quillorn::tests
