// Stands in for systeminfo with far more output than a pipe holds by default: 262144 bytes in
// 4096 lines of 64 bytes, each line its number in decimal, dots, then CR LF.
#include <windows.h>

#include <cstdio>
#include <string>

int main()
{
    std::string text;
    for (int line = 0; line < 4096; ++line)
    {
        char number[16];
        const int digits = std::snprintf(number, sizeof number, "%d", line);
        text.append(number, digits).append(62 - digits, '.').append("\r\n");
    }
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    return written == text.size() ? 0 : 1;
}
