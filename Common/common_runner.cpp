// The command runner of the common module.
#include "common.h"

#include "handles.h"
#include "mplog.h"

#include <wx/arrstr.h>
#include <wx/tokenzr.h>

#include <windows.h>

#include <string>

ProcessCalls g_processCalls = {
    ::CreatePipe, ::SetHandleInformation, ::CreateProcessW, ::GetExitCodeProcess, ::Sleep,
};

namespace
{
const DWORD kPipeSize = 0x8000000;
const DWORD kDirBufferChars = 1024;

// No time-out on purpose: a child is waited for as long as it runs.
int WaitForExit(HANDLE process)
{
    DWORD code = 0;
    while (g_processCalls.getExitCodeProcess(process, &code) && code == STILL_ACTIVE)
        g_processCalls.sleep(10);
    return static_cast<int>(code);
}

// Called once the child has ended and the parent's write end is closed, so reading stops
// when the pipe is drained.
void ReadLines(HANDLE pipe, wxArrayString* output)
{
    std::string bytes;
    char byte = 0;
    DWORD read = 0;
    while (::ReadFile(pipe, &byte, 1, &read, nullptr) && read == 1)
        bytes.push_back(byte);
    if (bytes.empty())
        return;

    const int size = static_cast<int>(bytes.size());
    const int chars = ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0);
    std::wstring text(chars, L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, &text[0], chars);

    // "\n" is white space to the tokenizer, so runs of line feeds count as one and only
    // completely empty pieces vanish; a "\r" before the "\n" stays with its line.
    wxStringTokenizer lines(wxString(text), "\n");
    while (lines.HasMoreTokens())
        output->Add(lines.GetNextToken());
}
} // namespace

wxString GetSystemDir()
{
    wchar_t buffer[kDirBufferChars] = {};
    ::GetSystemDirectoryW(buffer, kDirBufferChars);
    return buffer;
}

wxString GetCurrentDir()
{
    wchar_t buffer[kDirBufferChars] = {};
    ::GetCurrentDirectoryW(kDirBufferChars, buffer);
    return buffer;
}

int RunProcess(const wxString& commandLine, bool wait, const wxString& currentDir, wxArrayString* output,
               bool captureStderr)
{
    wxString savedDir;
    if (!currentDir.empty())
    {
        savedDir = GetCurrentDir();
        ::SetCurrentDirectoryW(currentDir.wc_str());
    }

    UniqueFile readEnd;
    UniqueFile writeEnd;
    if (output)
    {
        SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
        HANDLE readRaw = INVALID_HANDLE_VALUE;
        HANDLE writeRaw = INVALID_HANDLE_VALUE;
        if (!g_processCalls.createPipe(&readRaw, &writeRaw, &inheritable, kPipeSize))
            return -1; // the current directory stays as set: kept as the tool always did
        readEnd.Reset(readRaw);
        writeEnd.Reset(writeRaw);
        if (!g_processCalls.setHandleInformation(readEnd.Get(), HANDLE_FLAG_INHERIT, 0))
            return -1;
    }

    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    if (output)
    {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = writeEnd.Get();
        startup.hStdError = captureStderr ? writeEnd.Get() : nullptr;
        startup.hStdInput = nullptr;
    }

    std::wstring line = commandLine.ToStdWstring();
    PROCESS_INFORMATION info = {};
    int exitCode = -1;
    if (g_processCalls.createProcess(nullptr, &line[0], nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                                     currentDir.empty() ? nullptr : currentDir.wc_str(), &startup, &info))
    {
        {
            ProcessHandles child(info);
            if (wait)
            {
                exitCode = WaitForExit(child.process.Get());
            }
            else
            {
                g_processCalls.sleep(1000);
                exitCode = 0;
            }
        }
        writeEnd.Reset();
        if (output)
            ReadLines(readEnd.Get(), output);
    }

    readEnd.Reset();
    writeEnd.Reset();
    if (!currentDir.empty())
        ::SetCurrentDirectoryW(savedDir.wc_str());
    return exitCode;
}

int RunCommand(const wxString& commandLine, wxArrayString* output)
{
    return RunProcess(commandLine, true, GetSystemDir(), output, false);
}

int ExecAndLog(const wxString& commandLine, const wxString& currentDir)
{
    wxArrayString lines;
    const int exitCode = RunProcess(commandLine, true, currentDir, &lines, true);
    MP_LOG(wxLOG_Message, "common", "ExecAndLog")("Output for command: \"%s\", currentDir: \"%s\"", commandLine,
                                                   currentDir);
    for (wxString text : lines)
    {
        text.Replace("\n", "");
        text.Replace("\r", "");
        if (!text.empty())
        {
            MP_LOG(wxLOG_Message, "common", "ExecAndLog")("%s", text);
        }
    }
    return exitCode;
}

int ExecAndLogInSystemDir(const wxString& commandLine)
{
    return ExecAndLog(commandLine, GetSystemDir());
}
