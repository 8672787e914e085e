#include "platform/print/PageRules.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace quillorn {
namespace {

TEST(PageRules, OfAStyleSheetAreTakenAway) {
    EXPECT_EQ(withoutPageRules("p{color:red} @page{margin:0}"), "p{color:red} @xxxx{margin:0}");
    EXPECT_EQ(withoutPageRules("@page :first{margin:0!important}"),
              "@xxxx :first{margin:0!important}");
    EXPECT_EQ(withoutPageRules("@media print{@PAGE wide{size:A3}}"),
              "@media print{@xxxx wide{size:A3}}");
    EXPECT_EQ(withoutPageRules("@layer a{@page{margin:0}}@page{}"),
              "@layer a{@xxxx{margin:0}}@xxxx{}");
}

TEST(PageRules, AreRecognisedInDisguise) {
    EXPECT_EQ(withoutPageRules("@\\70 age{margin:0}"), "@xxxxxxx{margin:0}");
    EXPECT_EQ(withoutPageRules("@p\\000061ge{margin:0}"), "@xxxxxxxxxx{margin:0}");
    EXPECT_EQ(withoutPageRules("@pa\\ge{margin:0}"), "@xxxxx{margin:0}");
    EXPECT_EQ(withoutPageRules("@page/**/:first{}"), "@xxxx/**/:first{}");
}

TEST(PageRules, InTextsAndCommentsAreNone) {
    for (const char* const sheet :
         {"", "p{}", "/* @page{margin:0} */", "p::after{content:\"@page{}\"}",
          "p::after{content:'it\\'s @page{}'}", "@pages{}", "@page-like{}", "@font-face{}",
          ".page{}", "/* unended @page{}", "'unended @page{}", "@", "@\\", "\\@page{}"}) {
        EXPECT_EQ(withoutPageRules(sheet), std::nullopt) << sheet;
    }
}

TEST(PageRules, AfterATextThatEndsWithItsLineAreRulesAgain) {
    EXPECT_EQ(withoutPageRules("p{content:'open\n} @page{}"), "p{content:'open\n} @xxxx{}");
}

TEST(PageRules, OfOursHaveTheMarginsAndNoSize) {
    PrintInfo info;
    info.topMargin = 50;
    info.rightMargin = 25;
    info.bottomMargin = 51;
    info.leftMargin = 26.24;
    EXPECT_EQ(pageRules(info),
              "@page{size:auto!important;margin:50pt 25pt 51pt 26.24pt!important}");
}

} // namespace
} // namespace quillorn
