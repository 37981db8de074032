// The words of systeminfo and bcdedit in the machine's language.
#include "fixtures/support.h"
#include "read/labels.h"

#include <gtest/gtest.h>

using namespace report;

TEST(Labels, MatchSystemInfoLabelsInEnglishAndGerman)
{
    EXPECT_EQ("English", MatchSystemInfoLabel("OS Version", SystemInfoField::OsVersion));
    EXPECT_EQ("German", MatchSystemInfoLabel("Betriebssystemversion", SystemInfoField::OsVersion));
    EXPECT_EQ("", MatchSystemInfoLabel("OS Name", SystemInfoField::OsVersion));
}

TEST(Labels, ALostLetterMatchesTheLetterOfTheTable)
{
    EXPECT_EQ("German", MatchSystemInfoLabel("Startger\xEF\xBF\xBDt", SystemInfoField::BootDevice));
    EXPECT_EQ("German", MatchSystemInfoLabel("Startger\xC3\xA4t", SystemInfoField::BootDevice));
    EXPECT_EQ("", MatchSystemInfoLabel("Startgeraet", SystemInfoField::BootDevice));
    EXPECT_EQ(BcdeditSection::DeviceOptions, MatchBcdeditSection("Ger\xEF\xBF\xBDteoptionen"));
}

TEST(Labels, MatchBcdeditWordsInEnglishAndGerman)
{
    EXPECT_EQ("German", MatchBcdeditWord("Bezeichner", BcdeditWord::Identifier));
    EXPECT_EQ("German", MatchBcdeditWord("Nein", BcdeditWord::No));
    EXPECT_EQ("English", MatchBcdeditWord("Yes", BcdeditWord::Yes));
    EXPECT_EQ("", MatchBcdeditWord("Ja", BcdeditWord::No));
}
