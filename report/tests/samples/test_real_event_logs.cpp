// Event logs that real Windows machines wrote (evtx/ in the real artifacts, read where they lie):
// a healthy machine's System log and a log with a damaged chunk.
#include "check/event_rules.h"
#include "fixtures/support.h"
#include "read/evtx.h"

#include <gtest/gtest.h>

using namespace report;
using namespace testing_support;

namespace
{
const char kSystemLog[] = "real-artifacts/evtx/omerbenamram-system.evtx";
const char kDamagedLog[] = "real-artifacts/evtx/omerbenamram-sample_with_a_bad_chunk_magic.evtx";
const char* const kEventFindings[] = {"events.unexpected-shutdown", "events.bug-check", "events.disk-error",
                                      "events.disk-warning",        "events.disk-removed", "events.controller-error"};

// The report of an extended run whose System log is the real one.
Report ReportWithLog(const std::string& file)
{
    fixtures::Bundle bundle = fixtures::ExtendedSampleBundle();
    bundle.Set("System32/WinEvt/Logs/System.evtx", fixtures::ReadFile(file));
    return AnalyzeBundle(bundle);
}

std::string EventFindings(const Report& report)
{
    std::string text;
    for (const Finding& finding : report.findings)
        for (const char* id : kEventFindings)
            if (finding.id == id)
                text += finding.id + "\n";
    return text;
}
} // namespace

TEST(RealSystemLog, TheRulesFindExactlyTheThreePagingWarningsOfDisk)
{
    const std::string file = SharedFile(kSystemLog);
    if (file.empty())
        GTEST_SKIP() << kSystemLog << " is not beside the checkout";
    const EventLog log = ReadEventLog(file, [](const EventRecord& record) { return MayMeetRule(record) || record.eventId == 98; });
    ASSERT_TRUE(log.read) << log.problem;
    EXPECT_EQ(1881u, log.records.size());
    EXPECT_EQ(0u, log.damagedChunks);
    std::vector<uint64_t> trouble;
    size_t healthyNtfs = 0;
    for (const EventRecord& record : log.records)
    {
        if (Classify(record) != Trouble::None)
            trouble.push_back(record.record);
        if (record.provider == "Microsoft-Windows-Ntfs" && record.eventId == 98)
        {
            EXPECT_EQ(4, record.level);
            ASSERT_NE(nullptr, record.Data("CorruptionActionState")) << record.record;
            EXPECT_EQ("0", *record.Data("CorruptionActionState"));
            ++healthyNtfs;
        }
        if (record.provider == "cdrom")
        {
            EXPECT_EQ(Trouble::None, Classify(record)) << "record " << record.record;
        }
    }
    EXPECT_EQ((std::vector<uint64_t>{543, 876, 877}), trouble);
    EXPECT_EQ(7u, healthyNtfs);
}

TEST(RealSystemLog, TheReportGivesTheThreeDiskWarningsAndNothingElse)
{
    const std::string file = SharedFile(kSystemLog);
    if (file.empty())
        GTEST_SKIP() << kSystemLog << " is not beside the checkout";
    const Report report = ReportWithLog(file);
    EXPECT_EQ("events.disk-warning\n", EventFindings(report)) << Summary(report);
    const Finding& warnings = Get(report, "events.disk-warning");
    EXPECT_EQ("3 disk warnings (paging errors, retried I/O) in the System log, the newest 2017-07-26 07:41:15 UTC", warnings.title);
    EXPECT_EQ(Severity::Warning, warnings.severity);
    ASSERT_EQ(3u, warnings.evidence.size());
    EXPECT_EQ("2017-07-23 07:16:52 UTC Disk event 51, warning (record 543): an error was detected during a paging operation "
              "[\\Device\\Harddisk1\\DR1]",
              warnings.evidence[2].text);
    for (const FileNote& note : report.notes)
        EXPECT_NE("System32/WinEvt/Logs/System.evtx", note.entry) << note.text;
}

TEST(RealDamagedLog, IsReadPastItsDamagedChunkWithANoteAndRaisesNoFinding)
{
    const std::string file = SharedFile(kDamagedLog);
    if (file.empty())
        GTEST_SKIP() << kDamagedLog << " is not beside the checkout";
    const EventLog log = ReadEventLog(file);
    ASSERT_TRUE(log.read) << log.problem;
    EXPECT_EQ(267u, log.records.size()) << "the records of the chunks that are whole";
    EXPECT_LT(0u, log.damagedChunks);
    const Report report = ReportWithLog(file);
    EXPECT_EQ("", EventFindings(report)) << Summary(report);
    EXPECT_TRUE(HasNote(report, "System32/WinEvt/Logs/System.evtx", "damaged chunks (data without a chunk signature): the records in "
                                                                    "them were left out"));
}
