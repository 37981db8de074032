// mpdiag-report ARCHIVE [--json] [--html FILE] [--pci-ids FILE]
// Reads an mpdiag.zip and tells what is wrong with the machine's recovery environment.
// Exit status: 0 when the archive could be read, whatever it shows; 2 when it is not a zip or
// not an mpdiag archive, or the command line is wrong; 1 when the HTML page cannot be written.
#include "check/analyze.h"
#include "facts/facts.h"
#include "show/render.h"

#include <cstdio>
#include <fstream>
#include <iostream>

namespace
{
const char kUsage[] = "usage: mpdiag-report ARCHIVE [--json] [--html FILE] [--pci-ids FILE]\n";

int Run(int argc, char** argv)
{
    std::string archivePath, htmlPath;
    bool json = false;
    report::Options options;
    for (int i = 1; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if (arg == "--json")
            json = true;
        else if ((arg == "--html" || arg == "--pci-ids") && i + 1 < argc)
            (arg == "--html" ? htmlPath : options.pciIds) = argv[++i];
        else if (arg == "-h" || arg == "--help")
        {
            std::cout << kUsage;
            return 0;
        }
        else if (!arg.empty() && arg[0] != '-' && archivePath.empty())
            archivePath = arg;
        else
        {
            std::cerr << "mpdiag-report: unexpected argument \"" << arg << "\"\n" << kUsage;
            return 2;
        }
    }
    if (archivePath.empty())
    {
        std::cerr << kUsage;
        return 2;
    }
    std::string error;
    const std::unique_ptr<report::Archive> archive = report::Archive::Open(archivePath, error);
    if (!archive)
    {
        std::cerr << "mpdiag-report: " << archivePath << " cannot be read as a zip archive: " << error << "\n";
        return 2;
    }
    if (!report::IsMpdiagArchive(*archive))
    {
        std::cerr << "mpdiag-report: " << archivePath
                  << " is a zip archive, but not one that mpdiag.exe made (it holds none of mpdiag.log, devices.txt, "
                     "the registry exports or the command logs)\n";
        return 2;
    }
    report::Report result = report::Analyze(*archive, archivePath, options);
    std::cout << (json ? report::RenderJson(result) : report::RenderText(result));
    if (!htmlPath.empty())
    {
        std::ofstream page(htmlPath, std::ios::binary);
        page << report::RenderHtml(result);
        if (!page.flush())
        {
            std::cerr << "mpdiag-report: cannot write " << htmlPath << "\n";
            return 1;
        }
    }
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
    }
    catch (const std::exception& e)
    {
        std::cerr << "mpdiag-report: " << e.what() << "\n";
        return 1;
    }
}
