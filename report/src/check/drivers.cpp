// The storage and network controllers: without a driver on the machine, and against the INF
// files of the recovery image.
#include "check/checks.h"
#include "read/pciids.h"

namespace report
{
namespace
{
std::string ControllerName(const Controller& controller, const Options& options)
{
    std::string vendor, device;
    const std::string name = PciIds(controller.ShortId(), vendor, device) ? PciName(options.pciIds, vendor, device) : "";
    const std::string kind = controller.network ? "network controller" : "storage controller";
    return (name.empty() ? kind : name) + " (" + controller.ShortId() + ")";
}

std::string IdList(const std::vector<std::string>& ids)
{
    std::string text;
    for (const std::string& id : ids)
        text += (text.empty() ? "" : ", ") + id;
    return text;
}

void NoDriverOnMachine(const Facts& facts, const Options& options, Report& report)
{
    for (const Controller& controller : facts.controllers)
    {
        if (!controller.noDriver)
            continue;
        const std::string name = ControllerName(controller, options);
        Finding& finding = facts.windowsPe
            ? report.Add("drivers.no-driver-in-pe", Severity::Error,
                         "Windows PE, where the tool ran, has no driver for the " + name,
                         "Add the controller's driver to the recovery image (dism /Add-Driver) or load it at the "
                         "recovery environment's start (drvload).")
            : report.Add("drivers.no-driver-on-machine", Severity::Warning,
                         "The machine has no working driver for the " + name,
                         "Install the controller's driver in Windows; a recovery environment needs it too.");
        finding.subject = controller.ShortId();
        finding.evidence.push_back({facts.devicesEntry, controller.devicesLine, IdList(controller.ids)});
    }
}

// The first of the controller's identifiers, most specific first, that an INF serves; -1 when none.
int BestMatch(const Controller& controller, const DriverSearch& search)
{
    for (size_t i = 0; i < controller.ids.size(); ++i)
        if (search.ids.count(controller.ids[i]))
            return static_cast<int>(i);
    return -1;
}

void MatchRecoveryDrivers(const Facts& facts, const DriverSearch& search, const Options& options, Report& report)
{
    std::vector<Evidence> served;
    for (const Controller& controller : facts.controllers)
    {
        const int match = BestMatch(controller, search);
        const std::string name = ControllerName(controller, options);
        if (match >= 0)
        {
            const std::string& id = controller.ids[static_cast<size_t>(match)];
            served.push_back({facts.wimEntry, 0,
                              name + ": " + search.ids.at(id) + " serves " + id +
                                  (static_cast<size_t>(match) < controller.hardwareIds ? " (hardware identifier)"
                                                                                       : " (compatible identifier)")});
            continue;
        }
        Finding& finding = report.Add(
            "drivers.missing-in-recovery-image", controller.network ? Severity::Warning : Severity::Error,
            "The recovery image has no driver for the " + name,
            controller.network
                ? "Add the adapter's driver to the recovery image (dism /Image:<mount> /Add-Driver); without it the "
                  "recovery environment cannot reach the network or a backup on a share."
                : "Add the controller's driver to the recovery image (dism /Image:<mount> /Add-Driver); without it the "
                  "recovery environment cannot see the disks behind this controller.");
        finding.subject = controller.ShortId();
        finding.evidence.push_back({controller.entry, controller.line, IdList(controller.ids)});
        finding.evidence.push_back({facts.wimEntry, 0,
                                    "image " + std::to_string(search.image) + ": " + std::to_string(search.infFiles) +
                                        " INF files searched, none lists any of these identifiers"});
    }
    if (!served.empty())
    {
        Finding& finding = report.Add("drivers.recovery-image-serves", Severity::Info,
                                      "The recovery image has drivers for " + std::to_string(served.size()) + " of " +
                                          std::to_string(facts.controllers.size()) + " storage and network controllers",
                                      "");
        finding.evidence = served;
    }
}
} // namespace

void CheckDrivers(const Facts& facts, Bundle& bundle, const Options& options, Report& report)
{
    NoDriverOnMachine(facts, options, report);
    if (facts.controllers.empty())
        return;
    const WimImage* image = facts.wim.valid ? facts.wim.RecoveryImage() : nullptr;
    if (!image)
    {
        if (facts.wimEntry.empty())
        {
            Finding& finding = report.Add("drivers.not-checked", Severity::Info,
                                          "The recovery image's drivers were not checked: the archive holds no boot.wim",
                                          "Ask for an extended run (mpdiag.exe -x) to check them.");
            finding.evidence.push_back({"boot.wim", 0, "not in the archive"});
        }
        return;
    }
    const std::string arch = image->architecture.empty() ? Architecture(facts.Installed(SystemInfoField::SystemType)) : image->architecture;
    const DriverSearch search = SearchDrivers(facts.wimFile, image->index, arch, bundle.Temp());
    if (!search.done)
    {
        Finding& finding = report.Add("drivers.not-checked", Severity::Warning,
                                      "The recovery image's drivers could not be read", "");
        finding.evidence.push_back({facts.wimEntry, 0, search.problem});
        return;
    }
    for (const std::string& skipped : search.skipped)
        bundle.Note(facts.wimEntry, "INF file left out of the driver search: " + skipped);
    MatchRecoveryDrivers(facts, search, options, report);
}
} // namespace report
