// Stands in for bcdedit, wmic and systeminfo on the sample machine: it answers by the name it
// was started under. The outputs exercise the line rules of the collection: CR LF lines,
// blank CR LF lines, UTF-8 text outside ASCII, and, with MPDIAG_STANDIN_LINE_FEEDS set in the
// environment, a hotfix list made only of line feeds.
#include <windows.h>

#include <cstring>
#include <string>

namespace
{
void Put(const char* text)
{
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text, static_cast<DWORD>(strlen(text)), &written, nullptr);
}

std::string OwnName()
{
    char path[MAX_PATH];
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string name = strrchr(path, '\\') ? strrchr(path, '\\') + 1 : path;
    for (char& c : name)
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return name;
}
} // namespace

int main(int argc, char** argv)
{
    const std::string name = OwnName();
    const std::string args = argc > 1 ? argv[1] : "";
    if (name == "bcdedit.exe")
    {
        Put("\r\nBoot Manager\r\n-------------\r\nidentifier              {bootmgr}\r\n\r\n"
            "Boot Loader\r\n-----------\r\ndescription             Sample \xC3\x9C" "bersicht \xE2\x82\xAC\r\n");
    }
    else if (name == "wmic.exe" && args == "qfe" && ::GetEnvironmentVariableA("MPDIAG_STANDIN_LINE_FEEDS", nullptr, 0))
    {
        Put("\n\n\n");
    }
    else if (name == "wmic.exe" && args == "qfe")
    {
        Put("Description      HotFixID   InstalledOn\r\nUpdate           KB5012170  8/9/2022\r\n"
            "Security Update  KB5031539  10/10/2023\r\n");
    }
    else if (name == "wmic.exe")
    {
        Put("Caption            Size\r\nSAMPLE DISK 0      64424509440\r\n");
    }
    else if (name == "systeminfo.exe")
    {
        Put("Host Name:        SAMPLE-PC\r\nSystem Locale:    de;Deutsch (\xC3\x96sterreich)\r\n\r\n\r\n");
    }
    else
    {
        return 1;
    }
    return 0;
}
