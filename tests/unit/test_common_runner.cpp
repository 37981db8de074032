#include "common.h"

#include "fake_process.h"
#include "test_support.h"

#include <wx/arrstr.h>

#include <windows.h>

#include <chrono>

namespace
{
wxString Child(const wxString& args) { return "\"" + BuildPath("child_writer.exe") + "\" " + args; }

std::vector<wxString> Lines(const wxArrayString& array) { return std::vector<wxString>(array.begin(), array.end()); }

// The lines whole, zero characters included, to compare with texts made by Text.
std::vector<std::wstring> WholeLines(const wxArrayString& array)
{
    std::vector<std::wstring> lines;
    for (const wxString& line : array)
        lines.emplace_back(line.wc_str(), line.length());
    return lines;
}

// A wide text of every character of the literal, zero characters included.
template <size_t N>
std::wstring Text(const wchar_t (&literal)[N])
{
    return std::wstring(literal, N - 1);
}
} // namespace

TEST(RunProcess, CrLfBlankLineSurvivesAsALoneCarriageReturn)
{
    wxArrayString lines;
    EXPECT_EQ(RunProcess(Child("out:610d0a0d0a620d0a"), true, "", &lines, false), 0);
    EXPECT_EQ(Lines(lines), (std::vector<wxString>{"a\r", "\r", "b\r"}));
}

TEST(RunProcess, RunsOfLineFeedsCountAsOne)
{
    wxArrayString lines;
    RunProcess(Child("out:610a0a620a"), true, "", &lines, false);
    EXPECT_EQ(Lines(lines), (std::vector<wxString>{"a", "b"}));
}

TEST(RunProcess, OutputOfLineFeedsOnlyGivesNoLine)
{
    wxArrayString lines;
    lines.Add("kept");
    RunProcess(Child("out:0a0a0a"), true, "", &lines, false);
    EXPECT_EQ(Lines(lines), (std::vector<wxString>{"kept"}));
}

TEST(RunProcess, LinesAreAppendedToWhatTheArrayHolds)
{
    wxArrayString lines;
    lines.Add("earlier");
    RunProcess(Child("out:780a"), true, "", &lines, false);
    EXPECT_EQ(Lines(lines), (std::vector<wxString>{"earlier", "x"}));
}

TEST(RunProcess, StandardErrorIsCapturedOnlyWhenAsked)
{
    wxArrayString without;
    RunProcess(Child("out:6f0a err:650a"), true, "", &without, false);
    EXPECT_EQ(Lines(without), (std::vector<wxString>{"o"}));

    wxArrayString with;
    RunProcess(Child("out:6f0a err:650a"), true, "", &with, true);
    EXPECT_EQ(Lines(with), (std::vector<wxString>{"o", "e"}));
}

TEST(RunProcess, ExitCodeComesBack)
{
    wxArrayString lines;
    EXPECT_EQ(RunProcess(Child("exit:3"), true, "", &lines, false), 3);
    EXPECT_EQ(RunProcess(Child("exit:3"), true, "", nullptr, false), 3);
}

TEST(RunProcess, MissingProgramGivesMinusOneAndLeavesTheArray)
{
    wxArrayString lines;
    lines.Add("untouched");
    EXPECT_EQ(RunProcess("mpdiag-no-such-program.exe /x", true, "", &lines, false), -1);
    EXPECT_EQ(Lines(lines), (std::vector<wxString>{"untouched"}));
}

TEST(RunProcess, InvalidUtf8BecomesReplacementCharacter)
{
    wxArrayString lines;
    RunProcess(Child("out:61ff620a"), true, "", &lines, false);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], wxString(L"a\xFFFD" L"b"));
}

TEST(RunProcess, Utf8OutputIsDecoded)
{
    wxArrayString lines;
    RunProcess(Child("out:47c3bc72c39f0d0a"), true, "", &lines, false);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], wxString(L"G\xFCr\xDF\r"));
}

// What wmic writes into a pipe: UTF-16LE behind a byte-order mark ("Hot", CR LF, "KB", CR LF).
// Read as UTF-8, each byte of the mark becomes U+FFFD and every zero byte a zero character that
// stays in its line; a line feed's zero byte begins the next line.
TEST(RunProcess, Utf16OutputKeepsItsZerosAndItsMarkAsTwoReplacementCharacters)
{
    wxArrayString lines;
    RunProcess(Child("out:fffe48006f0074000d000a004b0042000d000a00"), true, "", &lines, false);
    EXPECT_EQ(WholeLines(lines), (std::vector<std::wstring>{Text(L"\xFFFD\xFFFDH\0o\0t\0\r\0"), Text(L"\0K\0B\0\r\0"),
                                                            Text(L"\0")}));
}

// What bcdedit and systeminfo write on a German machine: code page 850, where a letter outside
// ASCII is a byte that UTF-8 does not allow; each such byte becomes one U+FFFD.
TEST(RunProcess, CodePageLettersBecomeOneReplacementCharacterEach)
{
    wxArrayString lines;
    // "Ger\x84teoptionen" CR LF, "Wei\xE1" CR LF, "\x9Aberwachung" CR LF
    RunProcess(Child("out:476572847465" "6f7074696f6e656e0d0a" "576569e10d0a" "9a6265727761636875" "6e670d0a"), true, "",
               &lines, false);
    EXPECT_EQ(WholeLines(lines), (std::vector<std::wstring>{L"Ger\xFFFDteoptionen\r", L"Wei\xFFFD\r",
                                                            L"\xFFFD" L"berwachung\r"}));
}

TEST(RunProcess, SixtyFourKibArriveWhole)
{
    wxArrayString lines;
    const auto start = std::chrono::steady_clock::now();
    RunProcess(Child("fill:65536"), true, "", &lines, false);
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
    size_t total = 0;
    for (const wxString& line : lines)
        total += line.length() + 1;
    EXPECT_EQ(lines.size(), 1024u);
    EXPECT_EQ(total, 65536u);
    EXPECT_EQ(lines[0], "abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyzabcdefghijk");
    std::printf("64 KiB of output through the runner: %lld ms\n", static_cast<long long>(ms));
}

TEST(RunProcess, ChildStartsInTheGivenDirectoryAndOursIsRestored)
{
    KeepCurrentDir keep;
    ScratchDir dir;
    const wxString before = GetCurrentDir();
    wxArrayString lines;
    RunProcess(Child("cwd"), true, dir.Path(), &lines, false);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].IsSameAs(dir.Path(), false)) << lines[0].utf8_string();
    EXPECT_EQ(GetCurrentDir(), before);
}

TEST(RunProcess, EmptyDirectoryStartsTheChildInOurs)
{
    KeepCurrentDir keep;
    ScratchDir dir;
    ASSERT_TRUE(::SetCurrentDirectoryW(dir.Path().wc_str()));
    wxArrayString lines;
    RunProcess(Child("cwd"), true, "", &lines, false);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].IsSameAs(dir.Path(), false)) << lines[0].utf8_string();
    EXPECT_TRUE(GetCurrentDir().IsSameAs(dir.Path(), false));
}

TEST(RunProcess, NotWaitingGivesZeroAfterAboutASecond)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunProcess(Child("exit:5"), false, "", nullptr, false), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(990));
}

TEST(RunCommand, RunsInTheSystemDirectoryWithoutStandardError)
{
    KeepCurrentDir keep;
    const wxString before = GetCurrentDir();
    wxArrayString lines;
    EXPECT_EQ(RunCommand(Child("cwd err:650a exit:4"), &lines), 4);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].IsSameAs(GetSystemDir(), false)) << lines[0].utf8_string();
    EXPECT_EQ(GetCurrentDir(), before);
}

TEST(ExecAndLog, LogsHeaderThenNonEmptyLinesWithoutCrLf)
{
    ScratchDir dir;
    RecordingLog log;
    const wxString command = Child("out:610d0a0d0a620d0a err:650a exit:7");
    EXPECT_EQ(ExecAndLog(command, dir.Path()), 7);
    EXPECT_EQ(log.Messages(), (std::vector<wxString>{"Output for command: \"" + command + "\", currentDir: \"" +
                                                         dir.Path() + "\"",
                                                     "a", "b", "e"}));
    for (const LogEntry& entry : log.entries)
    {
        EXPECT_EQ(entry.level, wxLOG_Message);
        EXPECT_EQ(entry.func, "ExecAndLog");
    }
}

TEST(ExecAndLog, MissingProgramStillLogsItsHeader)
{
    RecordingLog log;
    EXPECT_EQ(ExecAndLog("mpdiag-no-such-program.exe", ""), -1);
    EXPECT_EQ(log.Messages(),
              (std::vector<wxString>{"Output for command: \"mpdiag-no-such-program.exe\", currentDir: \"\""}));
}

TEST(ExecAndLogInSystemDir, UsesTheSystemDirectory)
{
    RecordingLog log;
    ExecAndLogInSystemDir(Child("cwd"));
    ASSERT_EQ(log.entries.size(), 2u) << log.Dump();
    EXPECT_TRUE(log.entries[0].msg.EndsWith("currentDir: \"" + GetSystemDir() + "\""));
    EXPECT_TRUE(log.entries[1].msg.IsSameAs(GetSystemDir(), false));
}

TEST(GetSystemDir, MatchesTheSystem)
{
    wchar_t expected[MAX_PATH];
    ::GetSystemDirectoryW(expected, MAX_PATH);
    EXPECT_EQ(GetSystemDir(), wxString(expected));
}

// ---- the calls behind the runner, recorded: what Wine does not show --------------------------

TEST(RunProcess, ChildIsHiddenInheritsHandlesAndWritesIntoTheInheritablePipe)
{
    ScratchDir dir;
    FakeProcessCalls calls;
    const wxString command = Child("out:6f0a");
    wxArrayString lines;
    EXPECT_EQ(RunProcess(command, true, dir.Path(), &lines, false), 0);
    EXPECT_EQ(Lines(lines), (std::vector<wxString>{"o"}));

    ASSERT_EQ(calls.pipes.size(), 1u);
    const PipeCall& pipe = calls.pipes[0];
    EXPECT_EQ(pipe.attributesLength, sizeof(SECURITY_ATTRIBUTES));
    EXPECT_FALSE(pipe.hasDescriptor);
    EXPECT_EQ(pipe.inheritable, TRUE);
    EXPECT_EQ(pipe.size, 0x8000000u);
    // The read end stays ours: only the write end goes to the child.
    ASSERT_EQ(calls.handleInformation.size(), 1u);
    EXPECT_EQ(calls.handleInformation[0].handle, pipe.readEnd);
    EXPECT_EQ(calls.handleInformation[0].mask, static_cast<DWORD>(HANDLE_FLAG_INHERIT));
    EXPECT_EQ(calls.handleInformation[0].flags, 0u);

    ASSERT_EQ(calls.processes.size(), 1u);
    const CreateProcessCall& start = calls.processes[0];
    EXPECT_FALSE(start.hasApplicationName);
    EXPECT_EQ(start.commandLine, command);
    EXPECT_FALSE(start.hasProcessAttributes);
    EXPECT_FALSE(start.hasThreadAttributes);
    EXPECT_EQ(start.inheritHandles, TRUE);
    EXPECT_EQ(start.creationFlags, 0x08000000u) << "CREATE_NO_WINDOW alone";
    EXPECT_FALSE(start.hasEnvironment);
    EXPECT_TRUE(start.hasCurrentDir);
    EXPECT_EQ(start.currentDir, dir.Path());
    EXPECT_EQ(start.startup.cb, sizeof(STARTUPINFOW));
    EXPECT_EQ(start.startup.dwFlags, static_cast<DWORD>(STARTF_USESTDHANDLES));
    EXPECT_EQ(start.startup.hStdOutput, pipe.writeEnd);
    EXPECT_EQ(start.startup.hStdError, nullptr) << "standard error not captured";
    EXPECT_EQ(start.startup.hStdInput, nullptr);
    EXPECT_EQ(start.startup.lpDesktop, nullptr);
    EXPECT_EQ(start.startup.wShowWindow, 0);
}

TEST(RunProcess, CapturedStandardErrorSharesThePipesWriteEnd)
{
    FakeProcessCalls calls;
    wxArrayString lines;
    RunProcess(Child("err:650a"), true, "", &lines, true);
    EXPECT_EQ(Lines(lines), (std::vector<wxString>{"e"}));
    ASSERT_EQ(calls.processes.size(), 1u);
    ASSERT_EQ(calls.pipes.size(), 1u);
    EXPECT_EQ(calls.processes[0].startup.hStdError, calls.pipes[0].writeEnd);
    EXPECT_EQ(calls.processes[0].startup.hStdOutput, calls.pipes[0].writeEnd);
    EXPECT_FALSE(calls.processes[0].hasCurrentDir) << "an empty directory is passed as none";
}

TEST(RunProcess, WithoutOutputArrayNoPipeAndNoStandardHandles)
{
    FakeProcessCalls calls;
    EXPECT_EQ(RunProcess(Child("exit:2"), true, "", nullptr, true), 2);
    EXPECT_TRUE(calls.pipes.empty());
    EXPECT_TRUE(calls.handleInformation.empty());
    ASSERT_EQ(calls.processes.size(), 1u);
    const STARTUPINFOW& startup = calls.processes[0].startup;
    EXPECT_EQ(startup.cb, sizeof(STARTUPINFOW));
    EXPECT_EQ(startup.dwFlags, 0u);
    EXPECT_EQ(startup.hStdOutput, nullptr);
    EXPECT_EQ(startup.hStdError, nullptr);
    EXPECT_EQ(calls.processes[0].inheritHandles, TRUE);
    EXPECT_EQ(calls.processes[0].creationFlags, 0x08000000u);
}

TEST(RunProcess, WaitPollsEveryTenMillisecondsWhileTheCodeIs259)
{
    FakeProcessCalls calls;
    calls.exitCodes = {{TRUE, 259}, {TRUE, 259}, {TRUE, 259}, {TRUE, 7}};
    EXPECT_EQ(RunProcess(Child("exit:0"), true, "", nullptr, false), 7);
    EXPECT_EQ(calls.exitCodeQueries, 4);
    EXPECT_EQ(calls.sleeps, (std::vector<DWORD>{10, 10, 10}));
}

TEST(RunProcess, ExitCodeThatCannotBeReadEndsTheWaitWithTheLastValueRead)
{
    {
        FakeProcessCalls calls;
        calls.exitCodes = {{TRUE, 259}, {FALSE, 0}};
        EXPECT_EQ(RunProcess(Child("exit:0"), true, "", nullptr, false), 259);
        EXPECT_EQ(calls.exitCodeQueries, 2);
        EXPECT_EQ(calls.sleeps, (std::vector<DWORD>{10}));
    }
    FakeProcessCalls calls;
    calls.exitCodes = {{FALSE, 0}};
    EXPECT_EQ(RunProcess(Child("exit:5"), true, "", nullptr, false), 0) << "nothing read: the initial 0";
}

TEST(RunProcess, NotWaitingSleepsOneSecondOnceAndAsksNoExitCode)
{
    FakeProcessCalls calls;
    EXPECT_EQ(RunProcess(Child("exit:5"), false, "", nullptr, false), 0);
    EXPECT_EQ(calls.exitCodeQueries, 0);
    EXPECT_EQ(calls.sleeps, (std::vector<DWORD>{1000}));
}

TEST(RunProcess, FailedPipeGivesMinusOneAndLeavesTheDirectoryChanged)
{
    KeepCurrentDir keep;
    ScratchDir dir;
    FakeProcessCalls calls;
    calls.pipeFails = true;
    wxArrayString lines;
    EXPECT_EQ(RunProcess(Child("out:6f0a"), true, dir.Path(), &lines, false), -1);
    EXPECT_TRUE(calls.processes.empty());
    EXPECT_TRUE(lines.empty());
    EXPECT_TRUE(GetCurrentDir().IsSameAs(dir.Path(), false)) << GetCurrentDir().utf8_string();
}

TEST(RunProcess, FailedInheritanceSettingGivesMinusOneAndLeavesTheDirectoryChanged)
{
    KeepCurrentDir keep;
    ScratchDir dir;
    FakeProcessCalls calls;
    calls.inheritanceFails = true;
    wxArrayString lines;
    EXPECT_EQ(RunProcess(Child("out:6f0a"), true, dir.Path(), &lines, false), -1);
    EXPECT_EQ(calls.handleInformation.size(), 1u);
    EXPECT_TRUE(calls.processes.empty());
    EXPECT_TRUE(GetCurrentDir().IsSameAs(dir.Path(), false)) << GetCurrentDir().utf8_string();
}

TEST(RunProcess, ChildThatCannotStartStillRestoresTheDirectory)
{
    KeepCurrentDir keep;
    ScratchDir dir;
    const wxString before = GetCurrentDir();
    FakeProcessCalls calls;
    calls.startFails = true;
    wxArrayString lines;
    EXPECT_EQ(RunProcess(Child("out:6f0a"), true, dir.Path(), &lines, false), -1);
    EXPECT_EQ(GetCurrentDir(), before);
    EXPECT_EQ(calls.exitCodeQueries, 0);
}
