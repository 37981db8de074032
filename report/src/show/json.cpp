// The report as JSON, written through nlohmann-json: field names are kept, fields only added.
#include "show/format.h"
#include "show/render.h"

#include <nlohmann/json.hpp>

namespace report
{
namespace
{
using Json = nlohmann::ordered_json;

Json MachineJson(const MachineSummary& m)
{
    Json howRead = Json::object();
    for (const auto& fact : m.howRead)
        howRead[fact.first] = fact.second;
    return {{"host", m.hostName},         {"os_name", m.osName},         {"os_version", m.osVersion},
            {"build", m.build},           {"architecture", m.architecture}, {"windows_pe", m.windowsPe},
            {"labels_language", m.labelsLanguage}, {"updates", m.updates}, {"how_read", howRead}};
}

Json FindingJson(const Finding& f)
{
    Json finding = {{"id", f.id}, {"severity", SeverityName(f.severity)}};
    if (!f.subject.empty())
        finding["subject"] = f.subject;
    finding["title"] = f.title;
    Json evidence = Json::array();
    for (const Evidence& e : f.evidence)
    {
        Json item = {{"entry", e.entry}};
        if (e.line)
            item["line"] = e.line;
        item["text"] = e.text;
        evidence.push_back(item);
    }
    finding["evidence"] = evidence;
    finding["advice"] = f.advice;
    return finding;
}

Json StepJson(const ChainStep& step, bool first)
{
    Json json = {{"step", step.role},        {"title", step.title},   {"state", ChainStateName(step.state)},
                 {"id", step.id},            {"description", step.description}, {"device", step.device},
                 {"detail", step.detail},    {"problem", step.problem}, {"finding", step.findingId},
                 {"entry", step.entry},      {"line", step.line}};
    if (!first)
        json["link"] = {{"state", ChainStateName(step.link)}, {"text", step.linkText}, {"problem", step.linkProblem},
                        {"finding", step.linkFindingId}};
    return json;
}

Json PartitionsJson(const std::vector<PartitionPlace>& partitions)
{
    Json list = Json::array();
    for (const PartitionPlace& p : partitions)
        list.push_back({{"offset", p.offset >= 0 ? Json(p.offset) : Json(nullptr)}, {"guid", p.guid}, {"name", p.name},
                        {"roles", p.roles}});
    return list;
}

Json BootChainJson(const BootChain& chain)
{
    Json steps = Json::array();
    for (const ChainStep& step : chain.steps)
        steps.push_back(StepJson(step, &step == &chain.steps.front()));
    Json disks = Json::array();
    for (const DiskPlace& d : chain.disks)
        disks.push_back({{"title", d.Title()},
                         {"listed", d.listed},
                         {"index", d.index},
                         {"line", d.line},
                         {"model", d.model},
                         {"style", d.style},
                         {"identity", d.identity},
                         {"size", d.size ? Json(d.size) : Json(nullptr)},
                         {"partitions_listed", d.partitionsListed},
                         {"status", d.status},
                         {"partitions", PartitionsJson(d.partitions)}});
    return {{"source", chain.source},
            {"verdict", chain.Verdict()},
            {"steps", steps},
            {"disks", disks},
            {"disks_left_out", chain.disksLeftOut},
            {"unplaced_partitions", PartitionsJson(chain.unplaced)}};
}

// Text from the archive may hold bytes that are not UTF-8: they become U+FFFD, never an exception.
std::string Dumped(const Json& json, bool oneLine)
{
    return json.dump(oneLine ? -1 : 2, ' ', false, Json::error_handler_t::replace) + "\n";
}
} // namespace

std::string RenderJson(const Report& report, bool oneLine)
{
    Json files = Json::array();
    for (const FileNote& note : report.notes)
        files.push_back({{"entry", note.entry}, {"note", note.text}});
    Json findings = Json::array();
    for (const Finding& f : report.findings)
        findings.push_back(FindingJson(f));
    const Json json = {{"archive", report.archive},
                       {"run", report.run},
                       {"machine", MachineJson(report.machine)},
                       {"files", files},
                       {"findings", findings},
                       {"boot_chain", BootChainJson(report.bootChain)}};
    return Dumped(json, oneLine);
}

std::string RenderSummaryJson(const Report& report)
{
    const Finding* top = report.findings.empty() ? nullptr : &report.findings.front();
    const Json json = {{"archive", report.archive},
                       {"host", report.machine.hostName},
                       {"system", SystemLine(report.machine)},
                       {"errors", Count(report, Severity::Error)},
                       {"warnings", Count(report, Severity::Warning)},
                       {"notes", Count(report, Severity::Info)},
                       {"most_severe", top ? top->id : ""},
                       {"most_severe_severity", top ? SeverityName(top->severity) : ""}};
    return Dumped(json, true);
}
} // namespace report
