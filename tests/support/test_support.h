#pragma once
// Shared helpers of the test programs: a recording log target, wxWidgets assertion capture,
// scratch folders that are removed afterwards, and byte-exact file access.
#include <gtest/gtest.h>

#include <wx/datetime.h>
#include <wx/log.h>
#include <wx/string.h>

#include <windows.h>

#include <map>

#include <ostream>
#include <string>
#include <vector>

inline void PrintTo(const wxString& text, std::ostream* os) { *os << '"' << text.utf8_string() << '"'; }

struct LogEntry
{
    wxLogLevel level;
    wxString msg;
    wxString file;
    int line;
    wxString func;
};
std::ostream& operator<<(std::ostream& os, const LogEntry& entry);

// Becomes the active log target for its lifetime and keeps every record.
class RecordingLog : public wxLog
{
public:
    RecordingLog();
    ~RecordingLog() override;

    std::vector<LogEntry> entries;

    // The messages alone, in order, for comparing whole sequences.
    std::vector<wxString> Messages() const;
    int Count(wxLogLevel level, const wxString& msg) const;
    // The one record with this text; fails the test if there is not exactly one.
    LogEntry Only(const wxString& msg) const;
    std::string Dump() const;

protected:
    void DoLogRecord(wxLogLevel level, const wxString& msg, const wxLogRecordInfo& info) override;

private:
    wxLog* m_previous;
};

struct AssertRecord
{
    wxString file;
    int line;
    wxString func;
    wxString cond;
    wxString msg;
};

// While one of these lives, wxWidgets assertions are recorded here instead of failing the test.
class AssertRecorder
{
public:
    AssertRecorder();
    ~AssertRecorder();
    std::vector<AssertRecord> asserts;
};

// The test programs' assertion handler: fails the running test unless an AssertRecorder is active.
void InstallTestAssertHandler();

// A fresh folder below the temporary folder, removed with everything in it afterwards.
class ScratchDir
{
public:
    ScratchDir();
    ~ScratchDir();
    const wxString& Path() const { return m_path; }
    wxString operator/(const wxString& relative) const;

private:
    wxString m_path;
};

// Restores the process's current directory whatever a test does to it.
class KeepCurrentDir
{
public:
    KeepCurrentDir();
    ~KeepCurrentDir();

private:
    wxString m_saved;
};

void RemoveTree(const wxString& path);
void WriteBytes(const wxString& path, const std::string& bytes);
std::string ReadBytes(const wxString& path);
void MakeDirs(const wxString& path);
bool PathExists(const wxString& path);
unsigned long AttributesOf(const wxString& path);

// The build's own programs, as Windows paths.
wxString BuildPath(const char* relative);

// Runs a program to its end (no window) and returns its exit code, or -1 if it did not start.
int RunToEnd(const wxString& commandLine, const wxString& currentDir = wxString());
// The same with the program's standard error going into `errorFile` (created anew).
int RunWithStandardErrorInto(const wxString& commandLine, const wxString& errorFile);
// Names in the temporary folder that begin with `prefix`.
std::vector<wxString> TempEntries(const wxString& prefix);
wxString TempFolder();

// The entries matching a search pattern (such as "folder\\*"), in the order the system returns
// them, without "." and "..".
std::vector<WIN32_FIND_DATAW> FindAll(const wxString& pattern);

struct ZipEntryRead
{
    std::string bytes;
    int method;
    wxDateTime time;
    bool isDir;
};
// Every entry of an archive by name, read back with the library's zip reader.
std::map<wxString, ZipEntryRead> ReadZip(const wxString& path);
