// What the working folder costs per file besides the zip: the copy of a folder tree by the
// destination copier, and the removal of the copy, by DeleteDirectory and by wxDir::Remove:
//   copy_costs.exe <folder> <scratch folder>
// Prints microseconds per file. A measuring tool, not a test.
#include "CFileCopierFS.h"
#include "common.h"

#include <wx/dir.h>
#include <wx/filename.h>
#include <wx/init.h>

#include <chrono>
#include <cstdio>
#include <functional>

namespace
{
double Seconds(const std::function<void()>& step)
{
    const auto start = std::chrono::steady_clock::now();
    step();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void Copy(const wxString& source, const wxString& destination)
{
    CFileCopierFS from(source, true, false, nullptr, false);
    CFileCopierFS to(destination, false, false, nullptr, false);
    from.AddItem("*");
    from.CopyTo(&to, true, wxString());
}
} // namespace

int main(int argc, char** argv)
{
    wxInitializer initializer;
    if (!initializer.IsOk() || argc < 3)
        return 2;
    const wxString source(argv[1]);
    const wxString scratch(argv[2]);
    wxArrayString files, empty;
    SearchDirs(source, wxString(), wxArrayString(), files, empty);
    const double n = files.size();
    std::printf("%zu files\n", files.size());
    const wxString first = JoinPath(scratch, "first"), second = JoinPath(scratch, "second");
    std::printf("copy (CFileCopierFS)          %9.1f us/file\n", Seconds([&] { Copy(source, first); }) * 1e6 / n);
    std::printf("copy again, into a new folder %9.1f us/file\n", Seconds([&] { Copy(source, second); }) * 1e6 / n);
    const wxString third = JoinPath(scratch, "third");
    std::printf("CopyFileW alone into the same tree %9.1f us/file\n", Seconds([&] {
        for (const wxString& file : files)
        {
            const wxString target = JoinPath(third, file);
            EnsureDirExists(target.BeforeLast('\\'));
            ::CopyFileW(JoinPath(source, file).wc_str(), target.wc_str(), FALSE);
        }
    }) * 1e6 / n);
    std::printf("CopyFileW again, over the copies %9.1f us/file\n", Seconds([&] {
        for (const wxString& file : files)
            ::CopyFileW(JoinPath(source, file).wc_str(), JoinPath(third, file).wc_str(), FALSE);
    }) * 1e6 / n);
    std::printf("remove (DeleteDirectory)      %9.1f us/file\n",
                Seconds([&] { DeleteDirectory(first.wc_str()); }) * 1e6 / n);
    std::printf("remove (wxDir::Remove)        %9.1f us/file\n",
                Seconds([&] { wxDir::Remove(second, wxPATH_RMDIR_RECURSIVE); }) * 1e6 / n);
    return 0;
}
