#include "platform/print/ScriptSigns.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

bool mayHold(const std::string& text, const std::string& type = "text/html") {
    return mayHoldScripts({text, type});
}

TEST(ScriptSigns, AreMissedInPlainPages) {
    EXPECT_FALSE(mayHold(""));
    EXPECT_FALSE(mayHold("<!DOCTYPE html><meta charset=utf-8><title>t</title>"
                         "<meta http-equiv=content-type content='text/html; charset=utf-8'>"
                         "<style>p { position: fixed }</style><link rel=stylesheet href=a.css>"
                         "<p class=on id='one'>On and on for ever; person=1. <a href=b.html>b</a>"
                         "<img src=c.png><form action=d><option value=1></form>"));
    EXPECT_FALSE(mayHold("<p>text", "text/html; charset=utf-8"));
}

TEST(ScriptSigns, AreSeenInPagesWithScripts) {
    for (const char* const text :
         {"<script>1</script>", "<SCRIPT src=a.js>", "<noscript>none</noscript>",
          "<a href=JavaScript:f()>f</a>", "<body onload=f()>", "<p ONCLICK = 'f()'>",
          "<svg/onload=f()>", "<p title=''onfocus=f()>", "<p\nonx\t\n=f()>", "onload=f()"}) {
        EXPECT_TRUE(mayHold(text)) << text;
        std::string wide;
        for (const char ch : std::string(text)) {
            wide += std::string{ch, '\0'};
        }
        EXPECT_TRUE(mayHold(wide)) << text;
    }
}

TEST(ScriptSigns, AreSeenInPagesThatShowOthersOrLeadToThem) {
    for (const char* const text :
         {"<iframe src=a.html>", "<frameset>", "<object data=a.svg>", "<embed src=a.svg>",
          "<meta http-equiv=Refresh content='0;url=a.html'>"}) {
        EXPECT_TRUE(mayHold(text)) << text;
    }
}

TEST(ScriptSigns, AreExpectedWhereNobodyLooks) {
    EXPECT_TRUE(mayHold("text", "application/xhtml+xml"));
    EXPECT_TRUE(mayHold("text", "image/svg+xml"));
    EXPECT_TRUE(mayHold("text", ""));
    EXPECT_TRUE(mayHold(std::string((std::size_t{1} << 20U) + 1, 'x')));
}

} // namespace
} // namespace quillorn::tests
