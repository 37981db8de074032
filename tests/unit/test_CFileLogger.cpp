#include "CFileLogger.h"

#include "test_support.h"

#include <wx/utils.h>

#include <windows.h>

#include <ctime>

namespace
{
// A fixed moment, so that the expected time text is computed independently of the logger.
const time_t kStamp = 1700000000;

std::string LocalTimeText(time_t stamp)
{
    char text[16];
    strftime(text, sizeof text, "%H:%M:%S", localtime(&stamp));
    return text;
}

wxLogRecordInfo InfoAt(time_t stamp)
{
    wxLogRecordInfo info("test", 1, "Test", "test");
    info.timestampMS = static_cast<wxLongLong_t>(stamp) * 1000 + 999;
    info.timestamp = stamp;
    return info;
}

// A previous target that counts what reaches it.
class CountingLog : public wxLog
{
public:
    explicit CountingLog(int* count) : m_count(count) {}

protected:
    void DoLogRecord(wxLogLevel, const wxString&, const wxLogRecordInfo&) override { ++*m_count; }

private:
    int* m_count;
};
} // namespace

TEST(CFileLogger, WritesTimeMarkerMessageAndCrLfPerLevel)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    {
        CFileLogger logger(path, nullptr, false);
        logger.LogRecord(wxLOG_FatalError, "fatal", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Error, "error", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Warning, "warning", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Message, "message", InfoAt(kStamp));
    }
    const std::string t = LocalTimeText(kStamp);
    EXPECT_EQ(ReadBytes(path), t + " !!! fatal\r\n" + t + " ! error\r\n" + t + " - warning\r\n" + t + "   message\r\n");
}

TEST(CFileLogger, MessageWithItsOwnLineBreakIsKeptAsGiven)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    CFileLogger logger(path, nullptr, false);
    logger.LogRecord(wxLOG_Error, "Error: !src || !dest\n", InfoAt(kStamp));
    const std::string t = LocalTimeText(kStamp);
    EXPECT_EQ(ReadBytes(path), t + " ! Error: !src || !dest\n\r\n");
    EXPECT_EQ(logger.GetText(), wxString::FromUTF8(t + " ! Error: !src || !dest\n\n"));
}

TEST(CFileLogger, EmptyMessageLevelRecordIsAnEmptyLine)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    CFileLogger logger(path, nullptr, false);
    logger.LogRecord(wxLOG_Message, "", InfoAt(kStamp));
    logger.LogRecord(wxLOG_Warning, "", InfoAt(kStamp));
    EXPECT_EQ(ReadBytes(path), "\r\n" + LocalTimeText(kStamp) + " - \r\n");
}

TEST(CFileLogger, EmptyErrorRecordStillGetsTimeAndMarker)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    CFileLogger logger(path, nullptr, false);
    logger.LogRecord(wxLOG_Error, "", InfoAt(kStamp));
    logger.LogRecord(wxLOG_FatalError, "", InfoAt(kStamp));
    const std::string t = LocalTimeText(kStamp);
    EXPECT_EQ(ReadBytes(path), t + " ! \r\n" + t + " !!! \r\n");
    EXPECT_EQ(logger.GetText(), wxString::FromUTF8(t + " ! \n" + t + " !!! \n"));
}

TEST(CFileLogger, TextIsUtf8WithoutByteOrderMark)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    CFileLogger logger(path, nullptr, false);
    logger.LogRecord(wxLOG_Message, wxString::FromUTF8("Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x92\xBE"),
                     InfoAt(kStamp));
    EXPECT_EQ(ReadBytes(path), LocalTimeText(kStamp) + "   Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x92\xBE\r\n");
}

TEST(CFileLogger, AppendsToAnExistingFile)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    WriteBytes(path, "earlier\r\n");
    {
        CFileLogger logger(path, nullptr, false);
        logger.LogRecord(wxLOG_Message, "later", InfoAt(kStamp));
    }
    EXPECT_EQ(ReadBytes(path), "earlier\r\n" + LocalTimeText(kStamp) + "   later\r\n");
}

TEST(CFileLogger, EachLineIsOnDiskBeforeTheNextRecord)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    CFileLogger logger(path, nullptr, false);
    logger.LogRecord(wxLOG_Message, "first", InfoAt(kStamp));
    EXPECT_EQ(ReadBytes(path), LocalTimeText(kStamp) + "   first\r\n");
}

TEST(CFileLogger, LevelsAboveMessageGoOnlyToThePreviousTarget)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    int reached = 0;
    {
        CFileLogger logger(path, new CountingLog(&reached), false);
        logger.LogRecord(wxLOG_Status, "status", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Info, "info", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Debug, "debug", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Trace, "trace", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Progress, "progress", InfoAt(kStamp));
        logger.LogRecord(wxLOG_User + 3, "user", InfoAt(kStamp));
        EXPECT_TRUE(logger.GetText().empty()) << logger.GetText().utf8_string();
    }
    EXPECT_EQ(reached, 6);
    EXPECT_EQ(ReadBytes(path), "");
}

TEST(CFileLogger, WithoutPassOnOnlyTheFileSeesErrorsWarningsMessages)
{
    ScratchDir dir;
    int reached = 0;
    CFileLogger logger(dir / "mpdiag.log", new CountingLog(&reached), false);
    logger.LogRecord(wxLOG_Error, "e", InfoAt(kStamp));
    logger.LogRecord(wxLOG_Warning, "w", InfoAt(kStamp));
    logger.LogRecord(wxLOG_Message, "m", InfoAt(kStamp));
    EXPECT_EQ(reached, 0);
}

TEST(CFileLogger, WithPassOnThePreviousTargetSeesThemToo)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    int reached = 0;
    CFileLogger logger(path, new CountingLog(&reached), true);
    logger.LogRecord(wxLOG_Error, "e", InfoAt(kStamp));
    logger.LogRecord(wxLOG_Warning, "w", InfoAt(kStamp));
    logger.LogRecord(wxLOG_Message, "m", InfoAt(kStamp));
    EXPECT_EQ(reached, 3);
    const std::string t = LocalTimeText(kStamp);
    EXPECT_EQ(ReadBytes(path), t + " ! e\r\n" + t + " - w\r\n" + t + "   m\r\n");
}

TEST(CFileLogger, DestructorDeletesThePreviousTarget)
{
    struct Witness : wxLog
    {
        explicit Witness(bool* gone) : gone(gone) {}
        ~Witness() override { *gone = true; }
        bool* gone;
    };
    ScratchDir dir;
    bool gone = false;
    {
        CFileLogger logger(dir / "mpdiag.log", new Witness(&gone), false);
        EXPECT_FALSE(gone);
    }
    EXPECT_TRUE(gone);
}

TEST(CFileLogger, UnopenablePathKeepsTextOnlyAndSaysNothing)
{
    ScratchDir dir;
    const wxString path = dir / "no\\such\\folder\\mpdiag.log";
    RecordingLog active; // whatever the file class would report lands here
    int reached = 0;
    CFileLogger logger(path, new CountingLog(&reached), false);
    logger.LogRecord(wxLOG_Error, "kept", InfoAt(kStamp));
    EXPECT_FALSE(PathExists(path));
    EXPECT_TRUE(active.entries.empty()) << active.Dump();
    EXPECT_EQ(reached, 0);
    EXPECT_EQ(logger.GetText(), wxString::FromUTF8(LocalTimeText(kStamp) + " ! kept\n"));
}

TEST(CFileLogger, LockedLogFileIsLeftUntouched)
{
    ScratchDir dir;
    const wxString path = dir / "mpdiag.log";
    WriteBytes(path, "locked\r\n");
    // Held by another handle that shares nothing: neither opening nor re-creating can succeed.
    HANDLE holder = ::CreateFileW(path.wc_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(holder, INVALID_HANDLE_VALUE);
    RecordingLog active;
    {
        CFileLogger logger(path, nullptr, false);
        logger.LogRecord(wxLOG_Error, "kept", InfoAt(kStamp));
        EXPECT_EQ(logger.GetText(), wxString::FromUTF8(LocalTimeText(kStamp) + " ! kept\n"));
    }
    ::CloseHandle(holder);
    EXPECT_EQ(ReadBytes(path), "locked\r\n");
    EXPECT_TRUE(active.entries.empty()) << active.Dump();
}

TEST(CFileLogger, FailingWriteClosesTheFileAndKeepsANoteInMemory)
{
    // Writes to this device always fail with "disk full".
    const wxString path = "Z:\\dev\\full";
    RecordingLog active;
    CFileLogger logger(path, nullptr, false);
    logger.LogRecord(wxLOG_Error, "first", InfoAt(kStamp));
    logger.LogRecord(wxLOG_Message, "second", InfoAt(kStamp + 1));
    const std::string t = LocalTimeText(kStamp);
    // The note follows the failing record; the later one is kept in memory with no second note,
    // so the file was closed after the first failure.
    EXPECT_EQ(logger.GetText(), wxString::FromUTF8(t + " ! first\n" + t + " ! Can't write to log file. Closing file" +
                                                   LocalTimeText(kStamp + 1) + "   second\n"));
    EXPECT_TRUE(active.entries.empty()) << active.Dump();
}

// A log file that nothing can write, not even an administrator: it lies on a read-only mount
// that tests/unit/readonly_log_check.sh makes and names in MPDIAG_READONLY_LOG. That script also
// checks that nothing reached standard error.
TEST(CFileLoggerOnReadOnlyMount, RunGoesOnWithTheFileUntouchedAndNothingPrinted)
{
    wxString path;
    if (!wxGetEnv("MPDIAG_READONLY_LOG", &path))
        GTEST_SKIP() << "needs the read-only mount of the readonly_log_file test";
    const std::string before = ReadBytes(path);
    RecordingLog active; // whatever the file class would report lands here
    {
        // As the entry makes it: the default target behind it, which writes to standard error.
        CFileLogger logger(path, new wxLogStderr, false);
        logger.LogRecord(wxLOG_Error, "error", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Warning, "warning", InfoAt(kStamp));
        logger.LogRecord(wxLOG_Message, "message", InfoAt(kStamp));
        const std::string t = LocalTimeText(kStamp);
        EXPECT_EQ(logger.GetText(), wxString::FromUTF8(t + " ! error\n" + t + " - warning\n" + t + "   message\n"));
    }
    EXPECT_EQ(ReadBytes(path), before);
    EXPECT_TRUE(active.entries.empty()) << active.Dump();
}
