// The boot configuration store as "bcdedit /enum all" lists it: sections by their titles and by
// what they hold.
#include "fixtures/support.h"
#include "facts/current_loader.h"
#include "read/bcdedit.h"

#include <gtest/gtest.h>

using namespace report;
using fixtures::Speech;
using testing_support::Captured;


class BcdeditSpeech : public testing::TestWithParam<Speech>
{
};

TEST_P(BcdeditSpeech, ReadsTheLoaderItsRecoverySequenceAndTheRamdisk)
{
    const BootStore store = BootStoreFromBcdedit(Captured(fixtures::BcdeditOutput(GetParam(), false)), "bcdedit_all.log");
    EXPECT_EQ(GetParam() == Speech::German ? "German" : "English", store.language);
    EXPECT_FALSE(store.labelsGarbled);
    EXPECT_TRUE(store.listsAll);
    std::string how;
    const BcdObject* current = CurrentLoader(store, {}, how);
    ASSERT_NE(nullptr, current);
    EXPECT_EQ("{current}", current->id);
    EXPECT_EQ(0, current->recoveryEnabled);
    EXPECT_EQ(20u, current->enabledWhere.line);
    ASSERT_EQ(1u, current->recoverySequence.size());
    const BcdObject* recovery = store.Find(current->recoverySequence[0]);
    ASSERT_NE(nullptr, recovery);
    EXPECT_TRUE(recovery->loader);
    EXPECT_EQ(1, recovery->winPe);
    EXPECT_EQ(BcdDevice::Kind::Ramdisk, recovery->osDevice.kind);
    EXPECT_EQ("C:", recovery->osDevice.partitionText);
    EXPECT_EQ("\\Recovery\\WindowsRE\\Winre.wim", recovery->osDevice.imagePath);
    EXPECT_FALSE(store.Find("{bootmgr}")->loader);
    EXPECT_TRUE(store.Find("{bootmgr}")->manager);
}

INSTANTIATE_TEST_SUITE_P(Forms, BcdeditSpeech, testing::Values(Speech::Utf8, Speech::Field, Speech::German));

TEST(Bcdedit, SectionsAreKnownByWhatTheyHoldWhateverTheirTitles)
{
    const BootStore store = BootStoreFromBcdedit(Captured(fixtures::BcdeditOutput(Speech::Unlisted)), "bcdedit_all.log");
    EXPECT_EQ("", store.language);
    EXPECT_TRUE(store.Find("{bootmgr}")->manager);
    const BcdObject* current = store.Find("{current}");
    ASSERT_NE(nullptr, current);
    EXPECT_TRUE(current->loader) << "its path is winload's";
    EXPECT_TRUE(store.Find(fixtures::kRecoveryLoader)->loader);
    EXPECT_FALSE(store.Find(fixtures::kRamdiskOptions)->loader);
    const std::string winpe = "\r\nSection\r\n-------\r\nidentifier              {a}\r\nwinpe                   Yes\r\n";
    EXPECT_TRUE(BootStoreFromBcdedit(Captured(winpe), "bcdedit_all.log").Find("{a}")->loader);
}

TEST(Bcdedit, TheLabelsLanguageIsNamedOnlyWhereTheLabelsShowIt)
{
    // Japanese listings keep the English identifier under a Japanese title: "identifier" alone
    // shows no language.
    const std::string loader = "identifier              {current}\r\npath                    \\Windows\\system32\\winload.efi\r\n";
    EXPECT_EQ("", BootStoreFromBcdedit(Captured("\r\nSection\r\n-------\r\n" + loader), "bcdedit_all.log").language);
    EXPECT_EQ("Japanese", BootStoreFromBcdedit(Captured("\r\nWindows ブート ローダー\r\n----------\r\n" + loader), "bcdedit_all.log").language);
    EXPECT_EQ("English", BootStoreFromBcdedit(Captured("\r\nWindows Boot Loader\r\n----------\r\n" + loader), "bcdedit_all.log").language);
    EXPECT_EQ("German", BootStoreFromBcdedit(Captured("\r\nSection\r\n-------\r\nBezeichner" + loader.substr(10)), "bcdedit_all.log").language);
}

TEST(Bcdedit, YesAndNoAreEnglishInEveryLanguage)
{
    const std::string listing = "\r\nWindows-Startladeprogramm\r\n-------------------------\r\nBezeichner              {current}\r\n"
                                "path                    \\Windows\\system32\\winload.efi\r\n"
                                "recoveryenabled         Ja\r\nwinpe                   No\r\n";
    const BootStore store = BootStoreFromBcdedit(Captured(listing), "bcdedit_all.log");
    const BcdObject* current = store.Find("{current}");
    ASSERT_NE(nullptr, current);
    EXPECT_EQ(-1, current->recoveryEnabled) << "\"Ja\" is no word bcdedit prints";
    EXPECT_EQ(0, current->winPe);
}

TEST(Bcdedit, AListingWithoutTheInheritedSettingsShowsOnlySomeObjects)
{
    const std::string plain = "\r\nWindows Boot Loader\r\n-------------------\r\nidentifier              {current}\r\n"
                              "path                    \\Windows\\system32\\winload.exe\r\n"
                              "inherit                 {bootloadersettings}\r\n";
    EXPECT_FALSE(BootStoreFromBcdedit(Captured(plain), "bcdedit_all.log").listsAll);
    const std::string all = plain + "\r\nBoot Loader Settings\r\n--------------------\r\nidentifier              {bootloadersettings}\r\n";
    EXPECT_TRUE(BootStoreFromBcdedit(Captured(all), "bcdedit_all.log").listsAll);
}

TEST(Bcdedit, ADescriptionWithLettersLostToTheCodePageIsMarked)
{
    const std::string listing = "\r\nWindows Boot Loader\r\n-------------------\r\nidentifier              {current}\r\n"
                                "path                    \\Windows\\system32\\winload.exe\r\n"
                                "description             Windows 10 Entwickler-Ausgabe für Tests\r\n";
    EXPECT_TRUE(BootStoreFromBcdedit(Captured(fixtures::Cp850(listing)), "bcdedit_all.log").Find("{current}")->descriptionLost);
    EXPECT_FALSE(BootStoreFromBcdedit(Captured(listing), "bcdedit_all.log").Find("{current}")->descriptionLost);
}
