// What packing one file into an archive costs, step by step, over every file of a folder:
//   zip_costs.exe <folder> <scratch archive>
// First each step alone, then the steps added one by one to a traversal of the folder, and last
// ZipAdd itself. Prints microseconds per file. A measuring tool, not a test.
#include "ziptools.h"

#include <wx/datetime.h>
#include <wx/dir.h>
#include <wx/filename.h>
#include <wx/init.h>
#include <wx/mstream.h>
#include <wx/wfstream.h>
#include <wx/zipstrm.h>

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace
{
const int kFlags = wxDIR_FILES | wxDIR_DIRS | wxDIR_HIDDEN;

// Calls `step` with every file's full path and the path below the root.
class StepTraverser : public wxDirTraverser
{
public:
    StepTraverser(const wxString& root, const std::function<void(const wxString&, const wxString&)>& step)
        : prefix(root.length() + 1), step(step)
    {
    }
    wxDirTraverseResult OnFile(const wxString& name) override
    {
        step(name, name.Mid(prefix));
        return wxDIR_CONTINUE;
    }
    wxDirTraverseResult OnDir(const wxString&) override { return wxDIR_CONTINUE; }

private:
    size_t prefix;
    std::function<void(const wxString&, const wxString&)> step;
};

size_t g_files = 0;

// The least of three runs: the machine is shared, and the least is the step's own cost.
void Report(const char* what, const std::function<void()>& run)
{
    double best = 0;
    for (int i = 0; i < 3; ++i)
    {
        const auto start = std::chrono::steady_clock::now();
        run();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        best = i == 0 ? seconds : std::min(best, seconds);
    }
    std::printf("%-60s %9.1f us/file\n", what, best * 1e6 / g_files);
    std::fflush(stdout);
}

void Traverse(const wxString& root, const std::function<void(const wxString&, const wxString&)>& step)
{
    StepTraverser traverser(root, step);
    wxDir(root).Traverse(traverser, wxString(), kFlags);
}

void ReadAll(wxInputStream& input, char* chunk, size_t size)
{
    while (input.Read(chunk, size).LastRead() != 0)
    {
    }
}
} // namespace

int main(int argc, char** argv)
{
    wxInitializer initializer;
    if (!initializer.IsOk() || argc < 3)
        return 2;
    const wxString root(argv[1]);
    const wxString scratch(argv[2]);
    std::vector<wxString> files;
    Traverse(root, [&](const wxString& path, const wxString&) { files.push_back(path); });
    g_files = files.size();
    std::printf("%zu files\n", g_files);

    std::printf("-- each step alone\n");
    Report("relative name by wxFileName::MakeRelativeTo", [&] {
        for (const wxString& file : files)
        {
            wxFileName name(file);
            name.MakeRelativeTo(root);
            name.GetFullPath();
        }
    });
    Report("1 MiB buffer, std::vector (allocated and zeroed)", [&] {
        for (size_t i = 0; i < g_files; ++i)
            std::vector<char>(1 << 20)[i] = 1;
    });
    for (size_t kib : {64, 128, 256, 1024})
    {
        const std::string what = std::to_string(kib) + " KiB buffer, new char[]";
        Report(what.c_str(), [&] {
            for (size_t i = 0; i < g_files; ++i)
                std::unique_ptr<char[]>(new char[kib << 10])[i % 1024] = 1;
        });
    }
    Report("wxDateTime::Now", [&] {
        for (size_t i = 0; i < g_files; ++i)
            wxDateTime::Now();
    });

    std::printf("-- steps added one by one to the traversal\n");
    std::unique_ptr<char[]> chunk(new char[256 << 10]);
    Report("traverse (wxDir)", [&] { Traverse(root, [](const wxString&, const wxString&) {}); });
    Report("+ open and close (wxFileInputStream)",
           [&] { Traverse(root, [](const wxString& path, const wxString&) { wxFileInputStream input(path); }); });
    Report("+ read in 256 KiB chunks", [&] {
        Traverse(root, [&](const wxString& path, const wxString&) {
            wxFileInputStream input(path);
            ReadAll(input, chunk.get(), 256 << 10);
        });
    });
    auto pack = [&](wxOutputStream& out) {
        wxZipOutputStream zip(out, 9, wxConvUTF8);
        Traverse(root, [&](const wxString& path, const wxString& name) {
            wxFileInputStream input(path);
            zip.PutNextEntry(name, wxDateTime::Now(), wxInvalidOffset);
            size_t read;
            while ((read = input.Read(chunk.get(), 256 << 10).LastRead()) != 0)
                zip.Write(chunk.get(), read);
            zip.CloseEntry();
        });
    };
    Report("+ deflate into an archive in memory", [&] {
        wxMemoryOutputStream memory;
        pack(memory);
    });
    Report("+ archive in a file, unbuffered wxFileOutputStream", [&] {
        wxFileOutputStream file(scratch);
        pack(file);
    });
    Report("+ archive in a file, 1 MiB wxBufferedOutputStream", [&] {
        wxFileOutputStream file(scratch);
        wxBufferedOutputStream buffered(file, 1 << 20);
        pack(buffered);
    });
    Report("+ archive in a file, 1 MiB wxBufferedOutputStream, 256 KiB chunk allocated per file", [&] {
        wxFileOutputStream file(scratch);
        wxBufferedOutputStream buffered(file, 1 << 20);
        wxZipOutputStream zip(buffered, 9, wxConvUTF8);
        Traverse(root, [&](const wxString& path, const wxString& name) {
            wxFileInputStream input(path);
            zip.PutNextEntry(name, wxDateTime::Now(), wxInvalidOffset);
            std::unique_ptr<char[]> own(new char[256 << 10]);
            size_t read;
            while ((read = input.Read(own.get(), 256 << 10).LastRead()) != 0)
                zip.Write(own.get(), read);
            zip.CloseEntry();
        });
    });
    Report("ZipAdd", [&] { ZipAdd(scratch, root, wxString()); });
    return 0;
}
