#include "fake_process.h"

namespace
{
FakeProcessCalls* g_fake = nullptr;

BOOL WINAPI FakeCreatePipe(PHANDLE readEnd, PHANDLE writeEnd, LPSECURITY_ATTRIBUTES attributes, DWORD size)
{
    PipeCall call = {nullptr, nullptr, attributes ? attributes->nLength : 0,
                     attributes && attributes->lpSecurityDescriptor, attributes ? attributes->bInheritHandle : FALSE,
                     size};
    BOOL ok = FALSE;
    if (g_fake->pipeFails)
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    else if ((ok = ::CreatePipe(readEnd, writeEnd, attributes, size)))
    {
        call.readEnd = *readEnd;
        call.writeEnd = *writeEnd;
    }
    g_fake->pipes.push_back(call);
    return ok;
}

BOOL WINAPI FakeSetHandleInformation(HANDLE handle, DWORD mask, DWORD flags)
{
    g_fake->handleInformation.push_back({handle, mask, flags});
    if (!g_fake->inheritanceFails)
        return ::SetHandleInformation(handle, mask, flags);
    ::SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

BOOL WINAPI FakeCreateProcess(LPCWSTR applicationName, LPWSTR commandLine, LPSECURITY_ATTRIBUTES processAttributes,
                              LPSECURITY_ATTRIBUTES threadAttributes, BOOL inheritHandles, DWORD creationFlags,
                              LPVOID environment, LPCWSTR currentDir, LPSTARTUPINFOW startup,
                              LPPROCESS_INFORMATION info)
{
    g_fake->processes.push_back({applicationName != nullptr, commandLine ? wxString(commandLine) : wxString(),
                                 processAttributes != nullptr, threadAttributes != nullptr, inheritHandles,
                                 creationFlags, environment != nullptr, currentDir != nullptr,
                                 currentDir ? wxString(currentDir) : wxString(), *startup});
    if (!g_fake->startFails)
        return ::CreateProcessW(applicationName, commandLine, processAttributes, threadAttributes, inheritHandles,
                                creationFlags, environment, currentDir, startup, info);
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return FALSE;
}

BOOL WINAPI FakeGetExitCodeProcess(HANDLE process, LPDWORD code)
{
    ++g_fake->exitCodeQueries;
    if (g_fake->exitCodes.empty())
        return ::GetExitCodeProcess(process, code);
    const ExitCodeAnswer answer = g_fake->exitCodes.front();
    g_fake->exitCodes.pop_front();
    if (answer.ok)
        *code = answer.code;
    else
        ::SetLastError(ERROR_ACCESS_DENIED);
    return answer.ok;
}

// Really sleeps: a loop that polls a real child must not spin.
void WINAPI FakeSleep(DWORD milliseconds)
{
    g_fake->sleeps.push_back(milliseconds);
    ::Sleep(milliseconds);
}
} // namespace

FakeProcessCalls::FakeProcessCalls()
{
    g_fake = this;
    g_processCalls = {FakeCreatePipe, FakeSetHandleInformation, FakeCreateProcess, FakeGetExitCodeProcess, FakeSleep};
}

FakeProcessCalls::~FakeProcessCalls()
{
    g_processCalls = {::CreatePipe, ::SetHandleInformation, ::CreateProcessW, ::GetExitCodeProcess, ::Sleep};
    g_fake = nullptr;
}

std::vector<wxString> FakeProcessCalls::CommandLines() const
{
    std::vector<wxString> lines;
    for (const CreateProcessCall& call : processes)
        lines.push_back(call.commandLine);
    return lines;
}
