#include "support/CASLocalizedStrings.h"

#include "Environment.h"
#include "FreshProcess.h"
#include "TemporaryFolder.h"

#include "support/ASPlatform.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <optional>
#include <string>

namespace {

// A resource folder of the test's own.
class LocalizedStrings : public testing::Test {
protected:
    LocalizedStrings() { ASSetResourceFolder((m_folder.path() + "/").c_str()); }
    ~LocalizedStrings() override { ASSetResourceFolder(nullptr); }
    TemporaryFolder m_folder;
};

struct Locale {
    std::optional<std::string> language;
    std::optional<std::string> all;
    std::optional<std::string> messages;
    std::optional<std::string> lang;
};

void ExpectLocale(const Locale& locale, const std::string& language, const std::string& country) {
    Environment environment;
    environment.set("LANGUAGE", locale.language);
    environment.set("LC_ALL", locale.all);
    environment.set("LC_MESSAGES", locale.messages);
    environment.set("LANG", locale.lang);
    CASLocalizedStrings strings(nullptr);
    EXPECT_EQ(strings.defaultLauguageID(), language);
    EXPECT_EQ(strings.defaultLocaleID(), country);
}

} // namespace

TEST_F(LocalizedStrings, MissingTableGivesDefaultTextOrKey) {
    for (const char* name : {"None", static_cast<const char*>(nullptr), ""}) {
        CASLocalizedStrings strings(name);
        EXPECT_STREQ(strings.getLocalizedString("key", "section", "default"), "default");
        EXPECT_STREQ(strings.getLocalizedString("key", nullptr, nullptr), "key");
    }
}

TEST_F(LocalizedStrings, NullKeyIsAnErrorKey) {
    CASLocalizedStrings strings(nullptr);
    EXPECT_STREQ(strings.getLocalizedString(nullptr, nullptr, "default"), "Error Key");
}

TEST_F(LocalizedStrings, StoredTextIsReturned) {
    CASLocalizedStrings strings(nullptr);
    strings.setLocalizedString("a", nullptr, "b");
    EXPECT_STREQ(strings.getLocalizedString("a", nullptr, "x"), "b");
    strings.setLocalizedString("a", "section", "c");
    EXPECT_STREQ(strings.getLocalizedString("a", nullptr, "x"), "c");
    EXPECT_STREQ(strings.getLocalizedString("b", nullptr, nullptr), "b");
}

TEST_F(LocalizedStrings, NullAndInvalidTextsAreNotStored) {
    CASLocalizedStrings strings(nullptr);
    strings.setLocalizedString(nullptr, nullptr, "b");
    strings.setLocalizedString("a", nullptr, nullptr);
    strings.setLocalizedString("a", nullptr, "\xFF");
    strings.setLocalizedString("\xFF", nullptr, "a");
    EXPECT_STREQ(strings.getLocalizedString("a", nullptr, "x"), "x");
    EXPECT_FALSE(strings.saveLocalizeStrings((m_folder / "no table").c_str()));
}

TEST_F(LocalizedStrings, TableIsReadFromTheResourceFolder) {
    m_folder.write("Messages.plist",
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                   "<key>greeting</key><string>Gr\xC3\xBC\xC3\x9F &amp; Gott</string>"
                   "<key>number</key><integer>5</integer></dict></plist>");
    CASLocalizedStrings strings("Messages");
    EXPECT_STREQ(strings.getLocalizedString("greeting", nullptr, nullptr),
                 "Gr\xC3\xBC\xC3\x9F & Gott");
    EXPECT_STREQ(strings.getLocalizedString("number", nullptr, "not a text"), "not a text");
}

TEST_F(LocalizedStrings, SavedTableIsReadAgain) {
    CASLocalizedStrings strings(nullptr);
    strings.setLocalizedString("a", nullptr, "<b> & \"c\"");
    strings.setLocalizedString("\xE2\x82\xAC", nullptr, "");
    EXPECT_TRUE(strings.saveLocalizeStrings((m_folder / "Saved.plist").c_str()));
    EXPECT_EQ(ReadFile(m_folder / "Saved.plist").find("<?xml"), 0U);
    CASLocalizedStrings read("Saved");
    EXPECT_STREQ(read.getLocalizedString("a", nullptr, nullptr), "<b> & \"c\"");
    EXPECT_STREQ(read.getLocalizedString("\xE2\x82\xAC", nullptr, "x"), "");
}

TEST_F(LocalizedStrings, TableThatCannotBeSavedFails) {
    CASLocalizedStrings strings(nullptr);
    EXPECT_FALSE(strings.saveLocalizeStrings(nullptr));
    strings.setLocalizedString("a", nullptr, "b");
    EXPECT_FALSE(strings.saveLocalizeStrings(nullptr));
    EXPECT_FALSE(strings.saveLocalizeStrings((m_folder / "missing/table").c_str()));
    EXPECT_FALSE(strings.saveLocalizeStrings(m_folder.path().c_str()));
    EXPECT_FALSE(strings.saveLocalizeStrings((m_folder / std::string(5000, 't')).c_str()));
}

TEST_F(LocalizedStrings, DamagedAndUnreadableTablesAreEmpty) {
    for (const char* damage : {"", "x", "<plist><dict><key>a</key>", "<plist><array/></plist>"}) {
        m_folder.write("Damaged.plist", damage);
        CASLocalizedStrings strings("Damaged");
        EXPECT_STREQ(strings.getLocalizedString("a", nullptr, "x"), "x");
    }
    const std::string path = m_folder.write(
        "Secret.plist", "<plist><dict><key>a</key><string>b</string></dict></plist>");
    EXPECT_STREQ(CASLocalizedStrings("Secret").getLocalizedString("a", nullptr, "x"), "b");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    AsOrdinaryUser([] {
        CASLocalizedStrings strings("Secret");
        EXPECT_STREQ(strings.getLocalizedString("a", nullptr, "x"), "x");
    });
}

TEST_F(LocalizedStrings, LocaleComesFromTheEnvironment) {
    ExpectLocale({{}, {}, {}, "en_US.UTF-8"}, "en", "US");
    ExpectLocale({{}, {}, {}, "fr"}, "fr", "fr");
    ExpectLocale({{}, {}, {}, "de_DE@euro"}, "de", "DE");
    ExpectLocale({{}, {}, "it_IT", "en_US"}, "it", "IT");
    ExpectLocale({{}, "ja_JP.UTF-8", "it_IT", "en_US"}, "ja", "JP");
    ExpectLocale({"pt_BR:pt:en", {}, {}, "en_US"}, "pt", "BR");
    ExpectLocale({{}, {}, {}, "zh_Hant_TW"}, "zh", "Hant");
}

TEST_F(LocalizedStrings, LocaleIsEnglishWithoutOne) {
    ExpectLocale({{}, {}, {}, {}}, "en", "en");
    ExpectLocale({"fr", "C", {}, "de_DE"}, "en", "en");
    ExpectLocale({{}, {}, {}, "POSIX"}, "en", "en");
    ExpectLocale({{}, {}, {}, "C.UTF-8"}, "en", "en");
}

TEST_F(LocalizedStrings, SettingTheLocaleDoesNothing) {
    Environment environment;
    environment.set("LC_ALL", "sv_SE");
    environment.set("LANGUAGE", std::nullopt);
    CASLocalizedStrings strings(nullptr);
    strings.setLocaleID("FR");
    strings.setLauguageID(nullptr);
    EXPECT_STREQ(strings.defaultLauguageID(), "sv");
    EXPECT_STREQ(strings.defaultLocaleID(), "SE");
}
