// The storage and network controllers: those with a problem on the machine, those no longer in
// it, and the present ones against the drivers that Plug and Play finds in the recovery image.
#include "check/checks.h"
#include "read/pciids.h"

#include <unordered_map>

namespace report
{
namespace
{
// The instances of one device model (one "PCI\VEN_x&DEV_y"), in the order of the facts.
struct Model
{
    std::string id;
    std::vector<const Controller*> instances;
};

std::vector<Model> Models(const std::vector<const Controller*>& controllers)
{
    std::vector<Model> models;
    std::unordered_map<std::string, size_t> index;
    for (const Controller* controller : controllers)
    {
        const auto placed = index.emplace(controller->ShortId(), models.size());
        if (placed.second)
            models.push_back({controller->ShortId(), {}});
        models[placed.first->second].instances.push_back(controller);
    }
    return models;
}

std::string ControllerName(const Controller& controller, const PciNames& names)
{
    std::string vendor, device;
    if (!PciIds(controller.ShortId(), vendor, device))
        return controller.what + " (" + controller.ShortId() + ")";
    const std::string name = names.Name(vendor, device), maker = names.Name(vendor, "");
    // A device the list does not know is named by its maker and its class.
    return (name.empty() ? controller.what : name == maker ? maker + " " + controller.what : name) + " (" + controller.ShortId() + ")";
}

std::string Instances(const Model& model)
{
    return model.instances.size() > 1 ? " (" + std::to_string(model.instances.size()) + " instances)" : "";
}

std::string IdList(const std::vector<std::string>& ids)
{
    std::string text;
    for (const std::string& id : ids)
        text += (text.empty() ? "" : ", ") + id;
    return text;
}

// An instance, where it is and whether it is in the machine, with the evidence for that.
Evidence InstanceEvidence(const Controller& controller)
{
    const std::string where = controller.instance.empty() ? "listed in devices.txt" : controller.instance;
    return {controller.entry, controller.line,
            where + ": " + PresenceName(controller.presence) + " (" + controller.presenceWhy + ")"};
}

void ProblemsOnMachine(const Facts& facts, const PciNames& names, Report& report)
{
    std::vector<const Controller*> problems;
    for (const Controller& controller : facts.controllers)
        if (controller.problem)
            problems.push_back(&controller);
    for (const Model& model : Models(problems))
    {
        const std::string name = ControllerName(*model.instances.front(), names) + Instances(model);
        Finding& finding = facts.windowsPe
            ? report.Add("drivers.no-driver-in-pe", Severity::Error,
                         "Windows PE, where the tool ran, reports a problem with the " + name,
                         "devices.txt does not say which problem; in Windows PE it is mostly a missing driver. Load the "
                         "controller's driver (drvload) to see whether the disks or the network appear, and add it to the "
                         "recovery image (dism /Add-Driver).")
            : report.Add("drivers.no-driver-on-machine", Severity::Warning,
                         "Windows reports a problem with the " + name,
                         "devices.txt says only that the configuration manager reports a problem with this device, not "
                         "which: its status in Device Manager on the machine gives the problem code. A missing or failed "
                         "driver is the usual one; the recovery environment needs a working driver for it too.");
        finding.subject = model.id;
        for (const Controller* controller : model.instances)
            finding.evidence.push_back({facts.devicesEntry, controller->devicesLine, IdList(controller->ids)});
    }
}

bool InMachine(const Controller& controller)
{
    return controller.presence == Presence::Present || controller.presence == Presence::Unknown;
}

void NotInMachine(const Facts& facts, const PciNames& names, Report& report)
{
    std::vector<Evidence> evidence;
    for (const Controller& controller : facts.controllers)
        if (!InMachine(controller))
        {
            Evidence item = InstanceEvidence(controller);
            item.text = ControllerName(controller, names) + ", " + item.text;
            evidence.push_back(item);
        }
    if (evidence.empty())
        return;
    Finding& finding = report.Add("drivers.controllers-not-present", Severity::Info,
                                  std::to_string(evidence.size()) + " storage and network controllers of the device tree are "
                                                                    "no longer in the machine; their drivers were not checked",
                                  "");
    finding.evidence = evidence;
}

void SystemDiskController(const Facts& facts, const PciNames& names, Report& report)
{
    if (facts.systemDiskClues.empty())
        return;
    Finding& finding = report.Add("drivers.system-disk-controller", Severity::Info,
                                  "The system disk lies behind the " + ControllerName(facts.controllers.front(), names), "");
    finding.subject = facts.controllers.front().ShortId();
    for (const Clue& clue : facts.systemDiskClues)
        finding.evidence.push_back({clue.entry, clue.line, clue.text});
}

// The first of the controller's identifiers, most specific first, that an INF lists; -1 when none.
int BestMatch(const Controller& controller, const std::map<std::string, InfListing>& index)
{
    for (size_t i = 0; i < controller.ids.size(); ++i)
        if (index.count(controller.ids[i]))
            return static_cast<int>(i);
    return -1;
}

std::string IdKind(const Controller& controller, size_t match)
{
    return match < controller.hardwareIds ? " (hardware identifier)" : " (compatible identifier)";
}

std::string TargetText(const DriverSearch& search)
{
    const InfTarget& target = search.target;
    const std::string version = target.major ? "Windows " + std::to_string(target.major) + "." + std::to_string(target.minor) : "Windows (version not given)";
    const char* product = target.productType == 1 ? "workstation" : target.productType == 2 ? "domain controller" : "server";
    return "image " + std::to_string(search.image) + " (" + version + " build " + (target.build ? std::to_string(target.build) : "?") +
           ", " + target.architecture + ", " + product + ")";
}

std::string SearchText(const DriverSearch& search)
{
    std::string text = TargetText(search) + ": " + std::to_string(search.InfFiles()) + " INF files read where Plug and Play looks (" +
                       std::to_string(search.infFolder) + " in \\Windows\\INF, " + std::to_string(search.driverStore) +
                       " in the driver store), none lists any of these identifiers in the models section Windows picks for "
                       "this image";
    if (!search.notFunction.empty())
        text += "; " + std::to_string(search.notFunction.size()) + " INF files install no function driver (extension or software component INFs) and were not counted";
    if (search.elsewhere)
        text += "; " + std::to_string(search.elsewhere) + " INF files elsewhere in the image were not counted: Plug and Play does not look there";
    return text;
}

void Missing(const Facts& facts, const Model& model, const std::vector<const Controller*>& missing, const DriverSearch& search,
             const PciNames& names, Report& report)
{
    const Controller& first = *missing.front();
    bool present = false;
    for (const Controller* controller : missing)
        present = present || controller->presence == Presence::Present;
    const Severity severity = first.network ? Severity::Warning : present ? Severity::Error : Severity::Warning;
    Finding& finding = report.Add(
        "drivers.missing-in-recovery-image", severity,
        "No INF file in the recovery image lists the " + ControllerName(first, names) + Instances(model) + " for this image",
        first.network ? "Add the adapter's driver to the recovery image (dism /Image:<mount> /Add-Driver), one whose INF has a "
                        "models section for this image's platform and Windows build; without it the recovery environment "
                        "cannot reach the network or a backup on a share."
                      : std::string("Add the controller's driver to the recovery image (dism /Image:<mount> /Add-Driver), one "
                                    "whose INF has a models section for this image's platform and Windows build; without it "
                                    "the recovery environment cannot see the disks behind this controller.") +
                            (present ? "" : " Whether this controller is still in the machine cannot be told from the archive."));
    finding.subject = model.id;
    finding.evidence.push_back({first.entry, first.line, IdList(first.ids)});
    for (const Controller* controller : missing)
        finding.evidence.push_back(InstanceEvidence(*controller));
    finding.evidence.push_back({facts.wimEntry, 0, SearchText(search)});
    size_t shown = 0;
    for (const std::string& id : first.ids)
    {
        const auto passed = search.passedOver.find(id);
        if (passed == search.passedOver.end() || shown++ >= 3)
            continue;
        finding.evidence.push_back({facts.wimEntry, 0,
                                    passed->second.inf + " lists " + id + " in [" + passed->second.section +
                                        "], which Windows passes over for this image: " + passed->second.why});
    }
}

void MatchRecoveryDrivers(const Facts& facts, const DriverSearch& search, const PciNames& names, Report& report)
{
    std::vector<const Controller*> inMachine;
    for (const Controller& controller : facts.controllers)
        if (InMachine(controller))
            inMachine.push_back(&controller);
    const std::vector<Model> models = Models(inMachine);
    std::vector<Evidence> listed;
    for (const Model& model : models)
    {
        std::vector<const Controller*> missing;
        for (const Controller* controller : model.instances)
        {
            const int match = BestMatch(*controller, search.ids);
            if (match < 0)
            {
                missing.push_back(controller);
                continue;
            }
            const std::string& id = controller->ids[static_cast<size_t>(match)];
            const InfListing& listing = search.ids.at(id);
            listed.push_back({facts.wimEntry, 0,
                              ControllerName(*controller, names) +
                                  (model.instances.size() > 1 ? " " + controller->instance : "") + ": " + listing.inf + " [" + listing.section + "] lists " + id +
                                  IdKind(*controller, static_cast<size_t>(match))});
        }
        if (!missing.empty())
            Missing(facts, model, missing, search, names, report);
    }
    if (listed.empty())
        return;
    Finding& finding = report.Add("drivers.recovery-image-serves", Severity::Info,
                                  "INF files of the recovery image list " + std::to_string(listed.size()) + " of " +
                                      std::to_string(inMachine.size()) + " storage and network controllers, for this image",
                                  "");
    finding.evidence = listed;
}

void NoteSearch(const Facts& facts, const DriverSearch& search, Bundle& bundle)
{
    for (const std::string& skipped : search.skipped)
        bundle.Note(facts.wimEntry, "INF file left out of the driver search: " + skipped);
    for (const std::string& cut : search.cutLines)
        bundle.Note(facts.wimEntry, cut + ": lines longer than " + std::to_string(kInfLineCap) + " characters were cut");
    if (search.idCapHit)
        bundle.Note(facts.wimEntry, "the INF files list more than " + std::to_string(kDriverIdCap) +
                                        " identifiers; the rest were left out of the driver search");
}
} // namespace

void CheckDrivers(const Facts& facts, Bundle& bundle, const Options& options, Report& report)
{
    const PciNames names(options.pciIds);
    SystemDiskController(facts, names, report);
    ProblemsOnMachine(facts, names, report);
    NotInMachine(facts, names, report);
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
    const InfTarget target = TargetOf(*image, Architecture(facts.Installed(SystemInfoField::SystemType)));
    if (target.architecture.empty())
    {
        Finding& finding = report.Add("drivers.not-checked", Severity::Warning,
                                      "The recovery image's drivers were not checked: neither the image nor systeminfo.log "
                                      "names its platform, and Windows picks drivers by platform", "");
        finding.evidence.push_back({facts.wimEntry, 0, "image " + std::to_string(image->index) + ": no WINDOWS/ARCH in its metadata"});
        return;
    }
    const DriverSearch search = SearchDrivers(facts.wimFile, image->index, target, bundle.Temp());
    if (!search.done)
    {
        Finding& finding = report.Add("drivers.not-checked", Severity::Warning,
                                      "The recovery image's drivers could not be read", "");
        finding.evidence.push_back({facts.wimEntry, 0, search.problem});
        return;
    }
    NoteSearch(facts, search, bundle);
    MatchRecoveryDrivers(facts, search, names, report);
}
} // namespace report
