// Holds a file open without sharing, as a program that keeps its log locked does:
//   hold_file.exe PATH
// Prints "held" once the file is open, and keeps it until its standard input ends.
#include <windows.h>

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    const HANDLE file = ::CreateFileA(argv[1], GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    std::puts("held");
    std::fflush(stdout);
    char byte;
    DWORD read = 0;
    while (::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), &byte, 1, &read, nullptr) && read == 1)
    {
    }
    ::CloseHandle(file);
    return 0;
}
