#include "base/messages.h"

#include "base/ebase.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <libintl.h>
#include <string>

namespace {

std::string translate(const char *text)
{
    return dcgettext(nullptr, text, LC_MESSAGES);
}

class Messages : public ::testing::Test
{
protected:
    void SetUp() override { initMessages(); }
    void TearDown() override { setMessageLanguage(""); }
};

} // namespace

TEST_F(Messages, GermanCatalogueTranslatesCaptionsAndTitles)
{
    setMessageLanguage("de");
    EXPECT_EQ(translate("Favourites"), "Favoriten");
    EXPECT_EQ(translate("Genre List"), "Genre-Liste");
    EXPECT_EQ(translate("Top List"), "Top-Liste");
    EXPECT_EQ(translate("index"), "Index");
    EXPECT_EQ(translate("playing..."), "spielt...");
}

TEST_F(Messages, RegionalLanguageFallsBackToItsLanguage)
{
    setMessageLanguage("de_AT");
    EXPECT_EQ(translate("Favourites"), "Favoriten");
}

TEST_F(Messages, FormatsKeepTheirPlaceholders)
{
    setMessageLanguage("de");
    char formatted[64];
    std::snprintf(formatted, sizeof formatted, dcgettext(nullptr, " (%d entries)", LC_MESSAGES), 500);
    EXPECT_STREQ(formatted, " (500 Eintr\xC3\xA4ge)");
}

TEST_F(Messages, EnglishAndUnknownTextsStayAsTheyAre)
{
    setMessageLanguage("");
    EXPECT_EQ(translate("Favourites"), "Favourites");
    setMessageLanguage("de");
    EXPECT_EQ(translate("Download...  "), "Download...  ");
    setMessageLanguage("xx");
    EXPECT_EQ(translate("Favourites"), "Favourites");
}

TEST_F(Messages, LanguageCanBeSwitchedAtRunTime)
{
    setMessageLanguage("de");
    EXPECT_EQ(translate("Menu"), "Men\xC3\xBC");
    setMessageLanguage("");
    EXPECT_EQ(translate("Menu"), "Menu");
    EXPECT_EQ(messageLanguage(), "");
}

TEST_F(Messages, LanguageComesFromTheEnvironment)
{
    unsetenv("TARNWAVE_LANGUAGE");
    unsetenv("LANGUAGE");
    unsetenv("LC_ALL");
    unsetenv("LC_MESSAGES");
    setenv("LANG", "de_DE.UTF-8", 1);
    initMessages();
    EXPECT_EQ(messageLanguage(), "de_DE");
    EXPECT_EQ(translate("Favourites"), "Favoriten");

    setenv("TARNWAVE_LANGUAGE", "en", 1);
    initMessages();
    EXPECT_EQ(translate("Favourites"), "Favourites");
    unsetenv("TARNWAVE_LANGUAGE");
    setenv("LANG", "C.UTF-8", 1);
}

TEST_F(Messages, CataloguesAreReadFromTheBuild)
{
    EXPECT_FALSE(messageCatalogueDir().empty());
    const std::string catalogue = messageCatalogueDir() + "/de/LC_MESSAGES/tarnwave.mo";
    std::FILE *file = std::fopen(catalogue.c_str(), "rb");
    ASSERT_NE(file, nullptr) << catalogue;
    std::fclose(file);
}

TEST(MessagesOfTheApplication, ConstructingTheApplicationSetsUpTheCatalogue)
{
    setenv("TARNWAVE_LANGUAGE", "de", 1);
    {
        eApplication application;
        EXPECT_EQ(translate("Genre List"), "Genre-Liste");
    }
    unsetenv("TARNWAVE_LANGUAGE");
    setMessageLanguage("");
}
