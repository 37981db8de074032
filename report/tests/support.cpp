#include "support.h"

#include <cstdio>
#include <stdexcept>
#include <sys/wait.h>

namespace testing_support
{
std::string PciIdsFile()
{
    static const std::string path = [] {
        const std::string file = fixtures::TempDir() + "/pci.ids";
        fixtures::WriteFile(file, "# test list\n1000  Broadcom / LSI\n\t0079  MegaRAID SAS 2108 [Liberator]\n"
                                  "\t\t1000 9263  MegaRAID SAS 9260-8i\n8086  Intel Corporation\n"
                                  "\t10d3  82574L Gigabit Network Connection\n"
                                  "\t2922  82801IR/IO/IH (ICH9R/DO/DH) 6 port SATA Controller [AHCI mode]\n"
                                  "C 01  Mass storage controller\n");
        return file;
    }();
    return path;
}

report::Report AnalyzeArchive(const std::string& path)
{
    std::string error;
    const auto archive = report::Archive::Open(path, error);
    if (!archive)
        throw std::runtime_error("test archive does not open: " + error);
    report::Options options;
    options.pciIds = PciIdsFile();
    return report::Analyze(*archive, path, options);
}

report::Report AnalyzeBundle(const fixtures::Bundle& bundle)
{
    return AnalyzeArchive(bundle.Write(fixtures::TempDir() + "/mpdiag.zip"));
}

size_t CountFindings(const report::Report& report, const std::string& id, const std::string& subject)
{
    size_t count = 0;
    for (const report::Finding& finding : report.findings)
        count += finding.id == id && (subject.empty() || finding.subject == subject);
    return count;
}

std::string Summary(const report::Report& report)
{
    std::string text;
    for (const report::Finding& finding : report.findings)
        text += std::string(report::SeverityName(finding.severity)) + " " + finding.id +
                (finding.subject.empty() ? "" : " " + finding.subject) + "\n";
    return text;
}

int RunReport(const std::string& arguments, std::string& out, std::string* err)
{
    const std::string errFile = fixtures::TempDir() + "/stderr.txt";
    FILE* pipe = popen((std::string(MPDIAG_REPORT_EXE) + " " + arguments + " 2>" + errFile).c_str(), "r");
    out.clear();
    char buffer[4096];
    size_t got;
    while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        out.append(buffer, got);
    const int status = pclose(pipe);
    if (err)
        *err = fixtures::ReadFile(errFile);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
} // namespace testing_support
