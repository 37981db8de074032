#pragma once
// The runner's process calls, recorded: each call's arguments are kept, then the real call is
// made, unless the test asked for a failure or for canned exit codes. Installed for the
// lifetime of the object, the real table put back afterwards.
#include "common.h"

#include <windows.h>

#include <deque>
#include <vector>

struct PipeCall
{
    HANDLE readEnd;  // as created (null when the pipe failed)
    HANDLE writeEnd;
    DWORD attributesLength;
    bool hasDescriptor;
    BOOL inheritable;
    DWORD size;
};

struct HandleInformationCall
{
    HANDLE handle;
    DWORD mask;
    DWORD flags;
};

struct CreateProcessCall
{
    bool hasApplicationName;
    wxString commandLine;
    bool hasProcessAttributes;
    bool hasThreadAttributes;
    BOOL inheritHandles;
    DWORD creationFlags;
    bool hasEnvironment;
    bool hasCurrentDir;
    wxString currentDir;
    STARTUPINFOW startup;
};

struct ExitCodeAnswer
{
    BOOL ok;
    DWORD code; // written only when ok
};

class FakeProcessCalls
{
public:
    FakeProcessCalls();
    ~FakeProcessCalls();
    FakeProcessCalls(const FakeProcessCalls&) = delete;
    FakeProcessCalls& operator=(const FakeProcessCalls&) = delete;

    // What the fake does instead of the real call.
    bool pipeFails = false;        // CreatePipe fails with ERROR_NOT_ENOUGH_MEMORY, creating nothing
    bool inheritanceFails = false; // SetHandleInformation fails with ERROR_INVALID_HANDLE
    bool startFails = false;       // CreateProcessW fails with ERROR_FILE_NOT_FOUND, starting nothing
    std::deque<ExitCodeAnswer> exitCodes; // answered first, in order; then the real call answers

    // What was asked.
    std::vector<PipeCall> pipes;
    std::vector<HandleInformationCall> handleInformation;
    std::vector<CreateProcessCall> processes;
    int exitCodeQueries = 0;
    std::vector<DWORD> sleeps;

    // The command lines started, in order.
    std::vector<wxString> CommandLines() const;
};
