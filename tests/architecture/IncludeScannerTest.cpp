#include "tests/architecture/IncludeScanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::architecture {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Form = Include::Form;

TEST(IncludeScanner, FindsQuotedAndAngledIncludesWithTheirLines) {
    EXPECT_THAT(
        includesOf("#pragma once\n\n#include \"model/Item.h\"\n#include <vector>\n"),
        ElementsAre(Include{"model/Item.h", Form::quoted, 3}, Include{"vector", Form::angled, 4}));
}

TEST(IncludeScanner, FindsIncludesThatAreWrittenOddly) {
    EXPECT_THAT(includesOf("  #  include \"a.h\"\n"
                           "/* why */ #include /* what */ \"b.h\" // c\n"
                           "#include\"c.h\"\r\n"
                           "#\\\ninclude \"d.h\"\n"
                           "#include_next <e.h>"),
                ElementsAre(Include{"a.h", Form::quoted, 1}, Include{"b.h", Form::quoted, 2},
                            Include{"c.h", Form::quoted, 3}, Include{"d.h", Form::quoted, 5},
                            Include{"e.h", Form::angled, 6}));
}

TEST(IncludeScanner, FindsIncludesOnBothSidesOfACondition) {
    EXPECT_THAT(includesOf("#if 0\n#include \"a.h\"\n#else\n#include \"b.h\"\n#endif\n"),
                ElementsAre(Include{"a.h", Form::quoted, 2}, Include{"b.h", Form::quoted, 4}));
}

TEST(IncludeScanner, NamesTheMacroOfAnIncludeThroughAMacro) {
    EXPECT_THAT(includesOf("#include HEADER\n"), ElementsAre(Include{"HEADER", Form::macro, 1}));
}

TEST(IncludeScanner, PassesOverComments) {
    EXPECT_THAT(includesOf("// #include \"a.h\"\n"
                           "/*\n#include \"b.h\"\n*/\n"
                           "// goes on \\\n#include \"c.h\"\n"
                           "int x; #include \"d.h\"\n"),
                IsEmpty());
}

TEST(IncludeScanner, PassesOverStringLiterals) {
    EXPECT_THAT(includesOf("auto a = \"\\\n#include \\\"a.h\\\"\";\n"
                           "auto b = R\"x(\n#include \"b.h\"\n)\"\n#include \"c.h\"\n)x\";\n"
                           "auto c = u8R\"(\n#include \"d.h\"\n)\";\n"),
                IsEmpty());
}

TEST(IncludeScanner, IsNotMisledByQuotesInCharactersAndNumbers) {
    EXPECT_THAT(includesOf("char a = '\"'; int b = 1'000'000; char c = '\\'';\n"
                           "#include \"a.h\"\n"
                           "// it's\n"
                           "#include \"b.h\"\n"),
                ElementsAre(Include{"a.h", Form::quoted, 2}, Include{"b.h", Form::quoted, 4}));
}

} // namespace
} // namespace quillorn::architecture
