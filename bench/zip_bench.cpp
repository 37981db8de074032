// Packs a folder with ZipAdd and prints the time it took: zip_bench.exe <folder> <archive>
#include "ziptools.h"

#include <wx/init.h>

#include <chrono>
#include <cstdio>

int main(int argc, char** argv)
{
    wxInitializer initializer;
    if (!initializer.IsOk() || argc < 3)
        return 2;
    const auto start = std::chrono::steady_clock::now();
    ZipAdd(wxString(argv[2]), wxString(argv[1]), wxString());
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%.2f\n", seconds);
    return 0;
}
