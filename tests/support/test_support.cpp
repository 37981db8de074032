#include "test_support.h"

#include <wx/filename.h>
#include <wx/wfstream.h>
#include <wx/zipstrm.h>

#include <windows.h>

#include <memory>
#include <sstream>

std::ostream& operator<<(std::ostream& os, const LogEntry& entry)
{
    return os << "[level " << entry.level << " " << entry.file.utf8_string() << ":" << entry.line << " "
              << entry.func.utf8_string() << "] " << entry.msg.utf8_string();
}

RecordingLog::RecordingLog() : m_previous(wxLog::SetActiveTarget(this)) {}

RecordingLog::~RecordingLog() { wxLog::SetActiveTarget(m_previous); }

void RecordingLog::DoLogRecord(wxLogLevel level, const wxString& msg, const wxLogRecordInfo& info)
{
    entries.push_back({level, msg, wxString(info.filename), info.line, wxString(info.func)});
}

std::vector<wxString> RecordingLog::Messages() const
{
    std::vector<wxString> messages;
    for (const LogEntry& entry : entries)
        messages.push_back(entry.msg);
    return messages;
}

int RecordingLog::Count(wxLogLevel level, const wxString& msg) const
{
    int count = 0;
    for (const LogEntry& entry : entries)
        count += (entry.level == level && entry.msg == msg) ? 1 : 0;
    return count;
}

LogEntry RecordingLog::Only(const wxString& msg) const
{
    const LogEntry* found = nullptr;
    int count = 0;
    for (const LogEntry& entry : entries)
    {
        if (entry.msg == msg)
        {
            found = &entry;
            ++count;
        }
    }
    EXPECT_EQ(count, 1) << "records of \"" << msg.utf8_string() << "\" in:\n" << Dump();
    return found ? *found : LogEntry{wxLOG_Max, wxString(), wxString(), -1, wxString()};
}

std::string RecordingLog::Dump() const
{
    std::ostringstream os;
    for (const LogEntry& entry : entries)
        os << "  " << entry << "\n";
    return os.str();
}

namespace
{
AssertRecorder* g_recorder = nullptr;

void TestAssertHandler(const wxString& file, int line, const wxString& func, const wxString& cond,
                       const wxString& msg)
{
    if (g_recorder)
    {
        g_recorder->asserts.push_back({file, line, func, cond, msg});
        return;
    }
    ADD_FAILURE() << "unexpected wxWidgets assertion at " << file.utf8_string() << ":" << line << " in "
                  << func.utf8_string() << ": " << cond.utf8_string() << " " << msg.utf8_string();
}
} // namespace

AssertRecorder::AssertRecorder() { g_recorder = this; }
AssertRecorder::~AssertRecorder() { g_recorder = nullptr; }

void InstallTestAssertHandler() { wxSetAssertHandler(TestAssertHandler); }

ScratchDir::ScratchDir()
{
    static unsigned counter = 0;
    wchar_t temp[MAX_PATH];
    ::GetTempPathW(MAX_PATH, temp);
    wxString base(temp);
    if (!base.EndsWith("\\"))
        base += "\\";
    do
    {
        m_path = wxString::Format("%smptest-%lu-%u", base, ::GetCurrentProcessId(), ++counter);
    } while (PathExists(m_path));
    MakeDirs(m_path);
}

ScratchDir::~ScratchDir() { RemoveTree(m_path); }

wxString ScratchDir::operator/(const wxString& relative) const { return m_path + "\\" + relative; }

KeepCurrentDir::KeepCurrentDir()
{
    wchar_t current[1024] = L"";
    ::GetCurrentDirectoryW(1024, current);
    m_saved = current;
}

KeepCurrentDir::~KeepCurrentDir() { ::SetCurrentDirectoryW(m_saved.wc_str()); }

void RemoveTree(const wxString& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.wc_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return;
    ::SetFileAttributesW(path.wc_str(), FILE_ATTRIBUTE_NORMAL);
    if (!(attributes & FILE_ATTRIBUTE_DIRECTORY))
    {
        ::DeleteFileW(path.wc_str());
        return;
    }
    for (const WIN32_FIND_DATAW& entry : FindAll(path + "\\*"))
        RemoveTree(path + "\\" + entry.cFileName);
    ::RemoveDirectoryW(path.wc_str());
}

void WriteBytes(const wxString& path, const std::string& bytes)
{
    HANDLE file = ::CreateFileW(path.wc_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << "cannot create " << path.utf8_string() << ": " << ::GetLastError();
    DWORD written = 0;
    const BOOL ok = ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    ASSERT_TRUE(ok && written == bytes.size()) << path.utf8_string();
}

std::string ReadBytes(const wxString& path)
{
    std::string bytes;
    HANDLE file = ::CreateFileW(path.wc_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
    {
        ADD_FAILURE() << "cannot open " << path.utf8_string() << ": " << ::GetLastError();
        return bytes;
    }
    char buffer[65536];
    DWORD read = 0;
    while (::ReadFile(file, buffer, sizeof buffer, &read, nullptr) && read > 0)
        bytes.append(buffer, read);
    ::CloseHandle(file);
    return bytes;
}

void MakeDirs(const wxString& path) { wxFileName::Mkdir(path, 0777, wxPATH_MKDIR_FULL); }

bool PathExists(const wxString& path) { return ::GetFileAttributesW(path.wc_str()) != INVALID_FILE_ATTRIBUTES; }

unsigned long AttributesOf(const wxString& path) { return ::GetFileAttributesW(path.wc_str()); }

wxString BuildPath(const char* relative)
{
    wxString path = wxString::FromUTF8(MPDIAG_BUILD_DIR) + "\\" + relative;
    path.Replace("/", "\\");
    return path;
}

namespace
{
// Starts the program with `startup` (handles inherited when `inherit`) and waits for its end.
int StartAndWait(const wxString& commandLine, const wxString& currentDir, STARTUPINFOW& startup, BOOL inherit)
{
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    std::wstring line = commandLine.ToStdWstring();
    if (!::CreateProcessW(nullptr, &line[0], nullptr, nullptr, inherit, CREATE_NO_WINDOW, nullptr,
                          currentDir.empty() ? nullptr : currentDir.wc_str(), &startup, &process))
    {
        ADD_FAILURE() << "cannot start " << commandLine.utf8_string() << ": " << ::GetLastError();
        return -1;
    }
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    ::GetExitCodeProcess(process.hProcess, &code);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return static_cast<int>(code);
}
} // namespace

int RunToEnd(const wxString& commandLine, const wxString& currentDir)
{
    STARTUPINFOW startup = {};
    return StartAndWait(commandLine, currentDir, startup, FALSE);
}

int RunWithStandardErrorInto(const wxString& commandLine, const wxString& errorFile)
{
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    HANDLE errors = ::CreateFileW(errorFile.wc_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable, CREATE_ALWAYS, 0,
                                  nullptr);
    if (errors == INVALID_HANDLE_VALUE)
    {
        ADD_FAILURE() << "cannot create " << errorFile.utf8_string();
        return -1;
    }
    STARTUPINFOW startup = {};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdError = errors;
    const int code = StartAndWait(commandLine, wxString(), startup, TRUE);
    ::CloseHandle(errors);
    return code;
}

wxString TempFolder()
{
    wchar_t temp[MAX_PATH];
    ::GetTempPathW(MAX_PATH, temp);
    wxString path(temp);
    if (path.EndsWith("\\"))
        path.RemoveLast();
    return path;
}

std::vector<wxString> TempEntries(const wxString& prefix)
{
    std::vector<wxString> names;
    for (const WIN32_FIND_DATAW& entry : FindAll(TempFolder() + "\\" + prefix + "*"))
        names.push_back(entry.cFileName);
    return names;
}

std::vector<WIN32_FIND_DATAW> FindAll(const wxString& pattern)
{
    std::vector<WIN32_FIND_DATAW> entries;
    WIN32_FIND_DATAW data;
    HANDLE find = ::FindFirstFileW(pattern.wc_str(), &data);
    if (find == INVALID_HANDLE_VALUE)
        return entries;
    do
    {
        const wxString name(data.cFileName);
        if (name != "." && name != "..")
            entries.push_back(data);
    } while (::FindNextFileW(find, &data));
    ::FindClose(find);
    return entries;
}

std::map<wxString, ZipEntryRead> ReadZip(const wxString& path)
{
    std::map<wxString, ZipEntryRead> entries;
    wxFileInputStream file(path);
    EXPECT_TRUE(file.IsOk()) << path.utf8_string();
    if (!file.IsOk())
        return entries;
    wxZipInputStream zip(file, wxConvUTF8);
    std::unique_ptr<wxZipEntry> entry;
    while (entry.reset(zip.GetNextEntry()), entry)
    {
        std::string bytes;
        char buffer[4096];
        while (!zip.Eof())
        {
            zip.Read(buffer, sizeof buffer);
            bytes.append(buffer, zip.LastRead());
        }
        entries[entry->GetInternalName()] = {bytes, entry->GetMethod(), entry->GetDateTime(), entry->IsDir()};
    }
    return entries;
}
