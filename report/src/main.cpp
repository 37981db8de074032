// mpdiag-report [OPTIONS] ARCHIVE...
// Reads mpdiag.zip archives, each in turn, and tells what is wrong with each machine's recovery
// environment. Exit status: 0 when every archive could be read, whatever they show; 2 when one is
// not a zip or not an mpdiag archive, or the command line is wrong; 1 when an HTML page cannot be
// written (or the report of an archive failed). One bad archive is named and skipped.
#include "check/analyze.h"
#include "facts/facts.h"
#include "show/render.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sys/stat.h>

namespace
{
struct Request
{
    std::vector<std::string> archives;
    bool json = false, summary = false;
    std::string htmlFile, htmlFolder;
    report::Options options;
};

const char kDescription[] =
    "Reads archives that mpdiag.exe made (mpdiag.zip) and tells, with evidence, what is wrong with each\n"
    "machine's recovery environment: the report in the terminal, as JSON, or as an HTML page.\n";
const char kFooter[] =
    "Exit status: 0 every archive was read, whatever it shows; 1 an HTML page could not be written;\n"
    "2 an archive is not a zip or not an mpdiag archive (the others are still reported), or the\n"
    "command line is wrong. See mpdiag-report(1).";

// Parses the command line; returns -1 to go on, or the exit status (--help, --version, a mistake).
int Parse(int argc, char** argv, Request& request)
{
    CLI::App app{kDescription, "mpdiag-report"};
    app.footer(kFooter);
    app.add_option("ARCHIVE", request.archives, "The archives, reported in turn")->required()->type_name("FILE");
    app.add_flag("--json", request.json, "JSON instead of text; for several archives one document per line");
    app.add_flag("--summary", request.summary,
                 "One line per archive: archive, host, system, errors, warnings, the most\n"
                 "severe finding's id (tab-separated; with --json, as JSON)");
    CLI::Option* file =
        app.add_option("--html", request.htmlFile, "Also write the report as one self-contained HTML page (one archive)")->type_name("FILE");
    app.add_option("--html-dir", request.htmlFolder, "Also write one page per archive into FOLDER, named after the archive")
        ->type_name("FOLDER")
        ->excludes(file);
    app.add_option("--pci-ids", request.options.pciIds, "Names of PCI vendors and devices")->type_name("FILE")->capture_default_str();
    app.set_version_flag("--version", "mpdiag-report " MPDIAG_REPORT_VERSION, "Print the version and exit");
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& e)
    {
        const int status = app.exit(e);
        return status == 0 ? 0 : 2;
    }
    if (!request.htmlFile.empty() && request.archives.size() > 1)
    {
        std::cerr << "mpdiag-report: --html writes the page of one archive; for several archives use --html-dir FOLDER\n"
                  << "Run with --help for more information.\n";
        return 2;
    }
    return -1;
}

std::string Joined(const std::vector<std::string>& parts, size_t count)
{
    std::string text;
    for (size_t i = parts.size() - count; i < parts.size(); ++i)
        text += (text.empty() ? "" : "_") + parts[i];
    return text;
}

std::vector<std::string> Components(const std::string& path)
{
    std::vector<std::string> parts;
    for (size_t start = 0, end; start <= path.size(); start = end + 1)
    {
        end = std::min(path.find('/', start), path.size());
        if (end > start && path.compare(start, end - start, ".") != 0 && path.compare(start, end - start, "..") != 0)
            parts.push_back(path.substr(start, end - start));
    }
    if (parts.empty())
        parts.push_back("archive");
    std::string& name = parts.back();
    if (name.size() > 4 && name.compare(name.size() - 4, 4, ".zip") == 0)
        name.resize(name.size() - 4);
    return parts;
}

// Each archive's page: its file name, with as many folders above it as tell it apart from the
// others of the run ("4711_mpdiag.html" and "4712_mpdiag.html" for two case folders); a number
// after it where nothing does.
std::map<std::string, std::string> PageNames(const std::vector<std::string>& archives)
{
    std::map<std::string, std::vector<std::string>> parts;
    for (const std::string& path : archives)
        parts[path] = Components(path);
    std::map<std::string, std::string> names;
    for (size_t depth = 1; names.size() < parts.size(); ++depth)
    {
        std::map<std::string, size_t> uses;
        for (const auto& each : parts)
            ++uses[Joined(each.second, std::min(depth, each.second.size()))];
        for (const auto& each : parts)
        {
            const std::string name = Joined(each.second, std::min(depth, each.second.size()));
            if (!names.count(each.first) && (uses[name] == 1 || depth >= each.second.size()))
                names[each.first] = name;
        }
    }
    std::set<std::string> taken;
    for (auto& each : names)
    {
        std::string name = each.second;
        for (int n = 2; taken.count(name); ++n)
            name = each.second + "-" + std::to_string(n);
        taken.insert(name);
        each.second = name + ".html";
    }
    return names;
}

bool WritePage(const std::string& path, const report::Report& result)
{
    std::ofstream page(path, std::ios::binary);
    page << report::RenderHtml(result);
    if (page.flush())
        return true;
    std::cerr << "mpdiag-report: cannot write " << path << "\n";
    return false;
}

// One archive: its report on the standard output, its page where asked; the exit status it earns.
int ReportOn(const std::string& path, const Request& request, const std::string& page)
{
    std::string error;
    const std::unique_ptr<report::Archive> archive = report::Archive::Open(path, error);
    if (!archive)
    {
        std::cerr << "mpdiag-report: " << path << " cannot be read as a zip archive: " << error << "\n";
        return 2;
    }
    if (!report::IsMpdiagArchive(*archive))
    {
        std::cerr << "mpdiag-report: " << path
                  << " is a zip archive, but not one that mpdiag.exe made (it holds none of mpdiag.log, devices.txt, "
                     "the registry exports or the command logs)\n";
        return 2;
    }
    const report::Report result = report::Analyze(*archive, path, request.options);
    const bool lines = request.archives.size() > 1;
    if (request.summary)
        std::cout << (request.json ? report::RenderSummaryJson(result) : report::RenderSummary(result));
    else
        std::cout << (request.json ? report::RenderJson(result, lines) : report::RenderText(result));
    std::cout.flush();
    return page.empty() || WritePage(page, result) ? 0 : 1;
}

int Run(const Request& request)
{
    if (!request.htmlFolder.empty())
        mkdir(request.htmlFolder.c_str(), 0777);
    const std::map<std::string, std::string> pages = PageNames(request.archives);
    int worst = 0;
    bool first = true;
    for (const std::string& path : request.archives)
    {
        if (!first && !request.json && !request.summary)
            std::cout << "\n";
        first = false;
        const std::string page = !request.htmlFolder.empty() ? request.htmlFolder + "/" + pages.at(path) : request.htmlFile;
        int status;
        try
        {
            status = ReportOn(path, request, page);
        }
        catch (const std::exception& e)
        {
            std::cerr << "mpdiag-report: " << path << ": " << e.what() << "\n";
            status = 1;
        }
        worst = std::max(worst, status);
    }
    return worst;
}
} // namespace

int main(int argc, char** argv)
{
    Request request;
    const int status = Parse(argc, argv, request);
    return status >= 0 ? status : Run(request);
}
