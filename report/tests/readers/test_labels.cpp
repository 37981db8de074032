// The words of systeminfo and bcdedit in the machine's language, as real machines printed them,
// also after the console's code page and the collector's UTF-8 decoding garbled them.
#include "fixtures/support.h"
#include "read/labels.h"

#include <gtest/gtest.h>

using namespace report;
using testing_support::Captured;

namespace
{
// A label as it reaches the archive from a console writing in `codePage`.
std::string ThroughCodePage(const std::string& label, const char* codePage)
{
    const Text text = Captured(fixtures::OemCodePage(label + "\r\n", codePage));
    return text.lines.at(0);
}

std::string Describe(const LabelMatch& match) { return match.language + (match.garbled ? " (garbled)" : ""); }
} // namespace

TEST(Labels, SystemInfoLabelsOfEachLanguageSeenMatchExactly)
{
    EXPECT_EQ("English", Describe(MatchSystemInfoLabel("OS Version", SystemInfoField::OsVersion)));
    EXPECT_EQ("German", Describe(MatchSystemInfoLabel("Betriebssystemversion", SystemInfoField::OsVersion)));
    EXPECT_EQ("French", Describe(MatchSystemInfoLabel("Nom de l'hôte", SystemInfoField::HostName)));
    EXPECT_EQ("French", Describe(MatchSystemInfoLabel("Nom de l’hôte", SystemInfoField::HostName)));
    EXPECT_EQ("Italian", Describe(MatchSystemInfoLabel("Tipo sistema", SystemInfoField::SystemType)));
    EXPECT_EQ("Spanish", Describe(MatchSystemInfoLabel("Versión del sistema operativo", SystemInfoField::OsVersion)));
    EXPECT_EQ("Russian", Describe(MatchSystemInfoLabel("Имя узла", SystemInfoField::HostName)));
    EXPECT_EQ("Chinese", Describe(MatchSystemInfoLabel("OS 名称", SystemInfoField::OsName)));
    EXPECT_EQ("", Describe(MatchSystemInfoLabel("OS Name", SystemInfoField::OsVersion)));
}

TEST(Labels, ALabelGarbledByTheCodePageMatchesByWhatItKept)
{
    const std::string german = ThroughCodePage("Startgerät", "CP850");
    EXPECT_EQ("Startger\xEF\xBF\xBDt", german);
    EXPECT_EQ("German (garbled)", Describe(MatchSystemInfoLabel(german, SystemInfoField::BootDevice)));
    EXPECT_EQ("French (garbled)", Describe(MatchSystemInfoLabel(ThroughCodePage("Nom de l'hôte", "CP850"), SystemInfoField::HostName)));
    EXPECT_EQ("Chinese (garbled)", Describe(MatchSystemInfoLabel(ThroughCodePage("OS 名称", "CP936"), SystemInfoField::OsName)));
    EXPECT_EQ("Russian (garbled)", Describe(MatchSystemInfoLabel(ThroughCodePage("Папка Windows", "CP866"), SystemInfoField::WindowsDirectory)));
}

TEST(Labels, AGarbledLabelWithNothingReadableLeftNamesNoLanguage)
{
    // The lost letters of any other language's label would fit these as well.
    EXPECT_EQ("", Describe(MatchSystemInfoLabel(ThroughCodePage("Тип системы", "CP866"), SystemInfoField::SystemType)));
    EXPECT_EQ("", Describe(MatchSystemInfoLabel(ThroughCodePage("主机名", "CP936"), SystemInfoField::HostName)));
    EXPECT_EQ("", Describe(MatchBcdeditIdentifier(ThroughCodePage("标识符", "CP936"))));
    EXPECT_EQ("Chinese", Describe(MatchSystemInfoLabel("主机名", SystemInfoField::HostName))) << "exact, it counts";
}

TEST(Labels, ALabelThatLostNothingMustMatchExactly)
{
    EXPECT_EQ("", Describe(MatchSystemInfoLabel("Startgeraet", SystemInfoField::BootDevice)));
    EXPECT_EQ("", Describe(MatchSystemInfoLabel("Startgerat", SystemInfoField::BootDevice)));
    // A letter outside ASCII that is not U+FFFD is taken as it is: a real umlaut is no lost one.
    EXPECT_EQ("", Describe(MatchSystemInfoLabel("Startgerüt", SystemInfoField::BootDevice)));
}

TEST(Labels, SpacesDigitsAndSignsNeverStandForALostLetter)
{
    // "OS " then the lost letters of a two-letter word: no code page makes a digit of them.
    EXPECT_EQ("Chinese (garbled)", Describe(MatchSystemInfoLabel("OS \xEF\xBF\xBD\xEF\xBF\xBD", SystemInfoField::OsName)));
    EXPECT_EQ("", Describe(MatchSystemInfoLabel("OS \xEF\xBF\xBD" "12", SystemInfoField::OsName)));
    EXPECT_EQ("", Describe(MatchSystemInfoLabel("OS \xEF\xBF\xBD \xEF\xBF\xBD", SystemInfoField::OsName)));
}

TEST(Labels, TheIdentifierInEachLanguageSeen)
{
    EXPECT_EQ("English", Describe(MatchBcdeditIdentifier("identifier")));
    EXPECT_EQ("German", Describe(MatchBcdeditIdentifier("Bezeichner")));
    EXPECT_EQ("French", Describe(MatchBcdeditIdentifier("identificateur")));
    EXPECT_EQ("Italian", Describe(MatchBcdeditIdentifier("identificatore")));
    EXPECT_EQ("Portuguese", Describe(MatchBcdeditIdentifier("identificador")));
    EXPECT_EQ("Chinese", Describe(MatchBcdeditIdentifier("标识符")));
    EXPECT_EQ("", Describe(MatchBcdeditIdentifier("Yes")));
}

TEST(Labels, SectionTitlesInEachLanguageSeen)
{
    LabelMatch label;
    EXPECT_EQ(BcdeditSection::BootManager, MatchBcdeditSection("Windows-Start-Manager", &label));
    EXPECT_EQ("German", Describe(label));
    EXPECT_EQ(BcdeditSection::BootLoader, MatchBcdeditSection("Windows-Startladeprogramm"));
    EXPECT_EQ(BcdeditSection::ResumeLoader, MatchBcdeditSection("Wiederaufnahme aus dem Ruhezustand"));
    EXPECT_EQ(BcdeditSection::MemoryTester, MatchBcdeditSection("Windows-Speichertestprogramm"));
    EXPECT_EQ(BcdeditSection::BootLoader, MatchBcdeditSection("Carregador de Arranque do Windows", &label));
    EXPECT_EQ("Portuguese", Describe(label));
    EXPECT_EQ(BcdeditSection::BootManager, MatchBcdeditSection(ThroughCodePage("Gestionnaire de démarrage Windows", "CP850"), &label));
    EXPECT_EQ("French (garbled)", Describe(label));
    EXPECT_EQ(BcdeditSection::BootLoader, MatchBcdeditSection(ThroughCodePage("Windows ブート ローダー", "CP932"), &label));
    EXPECT_EQ("Japanese (garbled)", Describe(label));
    EXPECT_EQ(BcdeditSection::Unknown, MatchBcdeditSection("Fortsetzen nach Ruhezustand", &label));
    EXPECT_EQ("", Describe(label));
}

TEST(Labels, GarbledTitlesThatFitTwoSectionsNameTheLanguageButNoSection)
{
    LabelMatch label;
    // "Windows 启动管理器" and "Windows 启动加载器" both become "Windows " and lost letters.
    EXPECT_EQ(BcdeditSection::Unknown, MatchBcdeditSection(ThroughCodePage("Windows 启动管理器", "CP936"), &label));
    EXPECT_EQ("Chinese (garbled)", Describe(label));
    EXPECT_EQ(BcdeditSection::BootManager, MatchBcdeditSection("Windows 启动管理器", &label));
    EXPECT_EQ("Chinese", Describe(label));
}
