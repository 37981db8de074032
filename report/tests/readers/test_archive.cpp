// The zip archive: capped reads and names that must not be used as paths.
#include "fixtures/support.h"
#include "read/archive.h"

#include <gtest/gtest.h>

using namespace report;

TEST(Archive, ReadStopsAtTheCap)
{
    fixtures::Bundle bundle;
    bundle.Set("mpdiag.log", std::string(5000, 'a'));
    std::string error;
    const auto archive = Archive::Open(bundle.Write(fixtures::TempDir() + "/a.zip"), error);
    ASSERT_NE(nullptr, archive) << error;
    std::string bytes;
    EXPECT_FALSE(archive->Read(*archive->Find("MPDIAG.LOG"), 4999, bytes, error));
    EXPECT_TRUE(bytes.empty());
    EXPECT_TRUE(archive->Read(*archive->Find("mpdiag.log"), 5000, bytes, error)) << error;
    EXPECT_EQ(5000u, bytes.size());
}

TEST(Archive, ReadHeadStopsWithTheChunkThatBringsItsLastLineFeed)
{
    // The reads come in chunks of 64 KiB: a million line feeds end far before the entry does.
    fixtures::Bundle bundle;
    bundle.Set("setupact.log", std::string(8u << 20, '\n')).Set("setuperr.log", std::string(1000, '\n'));
    std::string error;
    const auto archive = Archive::Open(bundle.Write(fixtures::TempDir() + "/a.zip"), error);
    ASSERT_NE(nullptr, archive) << error;
    std::string bytes;
    bool whole = true;
    ASSERT_TRUE(archive->ReadHead(*archive->Find("setupact.log"), 8u << 20, 1000000, bytes, whole, error)) << error;
    EXPECT_FALSE(whole);
    EXPECT_EQ(1000000u + 65536 - 1000000 % 65536, bytes.size()) << "read up to the end of the chunk with the millionth";
    ASSERT_TRUE(archive->ReadHead(*archive->Find("setuperr.log"), 8u << 20, 1000000, bytes, whole, error)) << error;
    EXPECT_TRUE(whole);
    EXPECT_EQ(1000u, bytes.size());
}

TEST(Archive, UnsafeNames)
{
    for (const char* name : {"../x", "a/../../x", "/etc/x", "\\x", "C:\\x", "c:x", "a\\..\\..\\x", "./x", "a\nb"})
        EXPECT_FALSE(IsSafeEntryName(name)) << name;
    for (const char* name : {"mpdiag.log", "System32/WinEvt/Logs/System.evtx", "Logs\\CBS\\CBS.log", "a..b/c"})
        EXPECT_TRUE(IsSafeEntryName(name)) << name;
}

TEST(Archive, LooksAtNoMoreEntriesThanItsBoundAndCountsTheRest)
{
    fixtures::Bundle bundle;
    for (const char* name : {"a.log", "b.log", "c.log", "d.log", "e.log"})
        bundle.Set(name, "x");
    std::string error;
    const auto archive = Archive::Open(bundle.Write(fixtures::TempDir() + "/a.zip"), error, 3);
    ASSERT_NE(nullptr, archive) << error;
    EXPECT_EQ(3u, archive->Entries().size());
    EXPECT_EQ(2u, archive->EntriesLeftOut());
    EXPECT_NE(nullptr, archive->Find("c.log"));
    EXPECT_EQ(nullptr, archive->Find("d.log"));
}

TEST(Archive, FindIgnoresCaseAndSeparatorsAndTakesTheFirstOfTwins)
{
    fixtures::Bundle bundle;
    bundle.Set("Logs\\A.LOG", "first").Set("logs/a.log", "second");
    std::string error;
    const auto archive = Archive::Open(bundle.Write(fixtures::TempDir() + "/a.zip"), error);
    ASSERT_NE(nullptr, archive) << error;
    const ArchiveEntry* entry = archive->Find("LOGS/a.Log");
    ASSERT_NE(nullptr, entry);
    EXPECT_EQ("Logs\\A.LOG", entry->name);
}
