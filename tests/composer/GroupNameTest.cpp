#include "composer/GroupName.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {
namespace {

/// The text that the user sees about a refused name, "" for an accepted one.
std::string complaint(const std::string& name, const std::vector<std::string>& existing = {}) {
    const auto checked = checkGroupName(name, existing);
    return checked ? std::string() : checked.error();
}

TEST(GroupName, NamesWithThePdfExtensionAreAccepted) {
    EXPECT_EQ(complaint("Untitled.pdf"), "");
    EXPECT_EQ(complaint("two.words and more.Pdf"), "");
    EXPECT_EQ(complaint("a.tar.pdf"), "");
    EXPECT_EQ(complaint("..pdf"), "");
}

TEST(GroupName, AnExistingNameIsRefused) {
    EXPECT_EQ(complaint("Untitled.pdf", {"Other.pdf", "Untitled.pdf"}),
              "Untitled.pdf already exists.");
}

TEST(GroupName, TheSameNameInOtherCaseIsAnotherName) {
    EXPECT_EQ(complaint("Untitled.PDF", {"Untitled.pdf"}), "");
    EXPECT_EQ(complaint("untitled.pdf", {"Untitled.pdf"}), "");
}

TEST(GroupName, OtherExtensionsAreNotSupported) {
    EXPECT_EQ(complaint("Untitled.txt"), "Untitled.txt is not of a supported format.");
    EXPECT_EQ(complaint("Untitled"), "Untitled is not of a supported format.");
    EXPECT_EQ(complaint("Untitled.pdf.txt"), "Untitled.pdf.txt is not of a supported format.");
    EXPECT_EQ(complaint("Untitled.pdf2"), "Untitled.pdf2 is not of a supported format.");
    EXPECT_EQ(complaint("Untitled."), "Untitled. is not of a supported format.");
    EXPECT_EQ(complaint(""), " is not of a supported format.");
}

TEST(GroupName, TheExtensionAloneIsNoName) {
    EXPECT_EQ(complaint(".pdf"), ".pdf is not of a supported format.");
    EXPECT_EQ(complaint("pdf"), "pdf is not of a supported format.");
}

TEST(GroupName, ADuplicateIsNoticedBeforeTheFormat) {
    EXPECT_EQ(complaint("Untitled.txt", {"Untitled.txt"}), "Untitled.txt already exists.");
}

} // namespace
} // namespace quillorn
