// Stands in for bcdedit, wmic and systeminfo on the sample machine, installed under each name. It
// answers only the exact command lines that mpdiag runs:
//   "bcdedit.exe /enum all", "bcdedit", "wmic qfe list brief /format:texttablewsys",
//   "wmic diskdrive list", "systeminfo"
// Any other command line ends with exit code 1 and no output, so a changed command line fails a
// test. It writes what the real programs write into a pipe: wmic UTF-16LE behind a byte-order
// mark, bcdedit and systeminfo in the console's OEM code page, 850.
//
// Switches in the environment:
//   MPDIAG_STANDIN_TEXT=utf8     every output as UTF-8, the same text: the bundle that support's
//                                reader compares its recovered text with
//   MPDIAG_STANDIN_LANGUAGE=de   bcdedit and systeminfo of a German Windows
//   MPDIAG_STANDIN_RECORD=FILE   each run appends to FILE a line for each %TEMP%\MPDiag* entry:
//                                the command line, the entry's name and its attributes (0x%08lx),
//                                to show the working folder as it is while mpdiag runs
//   MPDIAG_STANDIN_LINE_FEEDS    the hotfix list is three line feeds and nothing else
//   MPDIAG_STANDIN_BLANK_LINES   the disk list is three CR LF blank lines and nothing else
#include "sample_facts.h"
#include "standin_text.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace
{
const UINT kOemCodePage = 850;

bool Switch(const char* name, const char* value = nullptr)
{
    char text[64] = {};
    const DWORD size = ::GetEnvironmentVariableA(name, text, sizeof text);
    return size > 0 && size < sizeof text && (!value || strcmp(text, value) == 0);
}

void Put(const std::string& bytes)
{
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

std::string Encoded(const std::wstring& text, UINT codePage)
{
    const int size = ::WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), nullptr, 0,
                                           nullptr, nullptr);
    std::string bytes(size, '\0');
    ::WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), &bytes[0], size, nullptr, nullptr);
    return bytes;
}

std::string Utf16WithMark(const std::wstring& text)
{
    return "\xFF\xFE" + std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

// A console program's text as it goes into a pipe.
void PutConsoleText(const std::wstring& text)
{
    Put(Encoded(text, Switch("MPDIAG_STANDIN_TEXT", "utf8") ? CP_UTF8 : kOemCodePage));
}

void PutWmicText(const std::wstring& text)
{
    Put(Switch("MPDIAG_STANDIN_TEXT", "utf8") ? Encoded(text, CP_UTF8) : Utf16WithMark(text));
}

void RecordWorkingFolders(const std::wstring& commandLine)
{
    wchar_t file[MAX_PATH];
    if (!::GetEnvironmentVariableW(L"MPDIAG_STANDIN_RECORD", file, MAX_PATH))
        return;
    wchar_t temp[MAX_PATH];
    ::GetTempPathW(MAX_PATH, temp);
    std::wstring lines;
    WIN32_FIND_DATAW found;
    const HANDLE search = ::FindFirstFileW((std::wstring(temp) + L"MPDiag*").c_str(), &found);
    for (bool more = search != INVALID_HANDLE_VALUE; more; more = ::FindNextFileW(search, &found))
    {
        wchar_t attributes[16];
        swprintf(attributes, 16, L"0x%08lx", found.dwFileAttributes);
        lines += commandLine + L" " + found.cFileName + L" " + attributes + L"\r\n";
    }
    if (search != INVALID_HANDLE_VALUE)
        ::FindClose(search);
    if (lines.empty())
        lines = commandLine + L" none\r\n";
    const HANDLE record = ::CreateFileW(file, FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, 0, nullptr);
    DWORD written = 0;
    const std::string bytes = Encoded(lines, CP_UTF8);
    ::WriteFile(record, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(record);
}
} // namespace

int main()
{
    const std::wstring line = ::GetCommandLineW();
    const Language language = Switch(sample::kLanguageVariable, "de") ? Language::German : Language::English;
    if (line == L"bcdedit.exe /enum all")
        PutConsoleText(BcdeditEnumAll(language));
    else if (line == L"bcdedit")
        PutConsoleText(BcdeditActive(language));
    else if (line == L"wmic qfe list brief /format:texttablewsys")
        Switch("MPDIAG_STANDIN_LINE_FEEDS") ? Put("\n\n\n") : PutWmicText(WmicHotfixes());
    else if (line == L"wmic diskdrive list")
        Switch("MPDIAG_STANDIN_BLANK_LINES") ? Put("\r\n\r\n\r\n") : PutWmicText(WmicDisks());
    else if (line == L"systeminfo")
        PutConsoleText(Systeminfo(language));
    else
        return 1;
    RecordWorkingFolders(line);
    return 0;
}
