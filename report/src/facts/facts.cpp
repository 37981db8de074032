#include "facts/facts.h"

#include "read/bcdedit.h"
#include "read/hive.h"

#include <algorithm>
#include <cstdlib>

namespace report
{
namespace
{
// Files that only the collector writes, and that every run of it makes.
const char* const kCollectorFiles[] = {"mpdiag.log",      "devices.txt",     "enum.reg",       "services.reg",
                                       "BCD00000000.reg", "BCD00000000.hiv", "bcdedit_all.log", "wmic_hotfix.log",
                                       "wmic_disks.log",  "systeminfo.log",  "recovery_path.log"};

void NoteStoreProblems(Bundle& bundle, const BootStore& store)
{
    for (const std::string& problem : store.problems)
        bundle.Note(store.entry, problem);
}

// Notes on what a reader of a registry file left out.
void NoteTreeGaps(Bundle& bundle, const std::string& entry, const RegTree& tree, size_t skipped)
{
    if (skipped)
        bundle.Note(entry, std::to_string(skipped) + " lines that are not registry export lines were left out");
    if (!tree.LeftOut().empty())
        bundle.Note(entry, tree.LeftOut());
}

bool ReadStoreFromRegistry(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.SystemText("BCD00000000.reg");
    if (!text)
        return false;
    size_t skipped = 0;
    const RegTree tree = ParseRegExport(*text, skipped);
    BootStore store = BootStoreFromRegistry(tree, bundle.StoredName("BCD00000000.reg"));
    NoteTreeGaps(bundle, store.entry, tree, skipped);
    NoteStoreProblems(bundle, store);
    if (store.objects.empty())
    {
        bundle.Note(store.entry, "holds no boot configuration objects");
        return false;
    }
    facts.store = std::move(store);
    facts.storeNote = "read from the registry export " + facts.store.entry;
    return true;
}

bool ReadStoreFromHive(Bundle& bundle, Facts& facts)
{
    const std::string file = bundle.Extract("BCD00000000.hiv", kTextCap);
    if (file.empty())
        return false;
    RegTree tree;
    std::string problem;
    const std::string entry = bundle.StoredName("BCD00000000.hiv");
    if (!ReadHive(file, "HKEY_LOCAL_MACHINE\\BCD00000000", tree, problem))
    {
        bundle.Note(entry, "could not be read: " + problem + "; left out of the report");
        return false;
    }
    BootStore store = BootStoreFromRegistry(tree, entry);
    NoteTreeGaps(bundle, entry, tree, 0);
    NoteStoreProblems(bundle, store);
    if (store.objects.empty())
    {
        bundle.Note(entry, "holds no boot configuration objects");
        return false;
    }
    facts.store = std::move(store);
    facts.storeNote = "read from the hive " + entry + " (BCD00000000.reg is missing or unreadable)";
    return true;
}

bool ReadStoreFromBcdedit(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("bcdedit_all.log");
    if (!text)
        return false;
    BootStore store = BootStoreFromBcdedit(*text, bundle.StoredName("bcdedit_all.log"));
    if (store.objects.empty())
    {
        bundle.Note(store.entry, "holds no boot configuration entries that this report recognises");
        return false;
    }
    const std::string labels = store.language.empty() ? "labels of an unknown language"
                               : store.labelsGarbled ? store.language + " labels, told through letters lost to the code page"
                                                     : store.language + " labels";
    facts.storeNote = "read from " + store.entry + " (" + labels + ": the registry export of the store is missing)";
    if (!store.listsAll)
        bundle.Note(store.entry, "lists only some of the store's objects (the settings objects that others inherit from are "
                                 "missing, as in plain \"bcdedit\"): an object it does not show may still be in the store");
    facts.store = std::move(store);
    return true;
}

// What of systeminfo's listing could not be read, and why.
void NoteSystemInfo(Bundle& bundle, const Text& text, const Facts& facts)
{
    const std::string& entry = facts.systemInfoEntry;
    const bool empty = std::all_of(text.lines.begin(), text.lines.end(), [](const std::string& line) { return Trim(line).empty(); });
    if (empty)
    {
        bundle.Note(entry, "is empty: the machine is not described");
        return;
    }
    if (facts.systemInfo.values.empty())
    {
        bundle.Note(entry, "neither its labels nor the order and shape of its fields are systeminfo's: the machine is not described");
        return;
    }
    if (facts.systemInfo.fieldsLeftOut)
        bundle.Note(entry, "only its first " + std::to_string(kMaxSystemInfoFields) + " lines of \"label: value\" were read");
    if (facts.systemInfo.language.empty())
        bundle.Note(entry, "its labels are in a language that the report's label table does not hold: the machine was read "
                           "by the order of systeminfo's fields and the shape of their values");
    const struct
    {
        SystemInfoField field;
        const char* name;
    } shown[] = {{SystemInfoField::HostName, "host name"}, {SystemInfoField::OsName, "OS name"}};
    for (const auto& each : shown)
    {
        const SystemInfoValue& value = facts.systemInfo.Get(each.field);
        if (value.lost)
            bundle.Note(entry, "line " + std::to_string(value.line) + ": the " + each.name +
                                   " lost letters to the console's code page before it reached the archive (\"" + value.text +
                                   "\"): it is shown as unknown");
    }
}

bool ReadSystemInfo(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("systeminfo.log");
    if (!text)
        return false;
    facts.systemInfoEntry = bundle.StoredName("systeminfo.log");
    facts.systemInfo = ParseSystemInfo(*text);
    facts.windowsPe = StartsWithNoCase(facts.Installed(SystemInfoField::WindowsDirectory), "X:");
    NoteSystemInfo(bundle, *text, facts);
    return true;
}

bool ReadDiagLog(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("mpdiag.log");
    if (!text)
        return false;
    const std::string entry = bundle.StoredName("mpdiag.log");
    std::vector<LogRecord> log = ParseDiagLog(*text);
    const size_t cut = std::count_if(log.begin(), log.end(), [](const LogRecord& record) { return record.cut; });
    if (cut)
        bundle.Note(entry, std::to_string(cut) + (cut == 1 ? " record longer than " : " records longer than ") +
                               std::to_string(kMaxMessageBytes) + " bytes " + (cut == 1 ? "was" : "were") + " cut there");
    facts.hint = HintFromLog(log);
    facts.logEntry = entry;
    facts.log = std::move(log);
    return true;
}

bool ReadRecoveryPath(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("recovery_path.log");
    if (!text)
        return false;
    for (const std::string& line : text->lines)
        if (!Trim(line).empty())
        {
            facts.recoveryPathEntry = bundle.StoredName("recovery_path.log");
            facts.recoveryPath = Trim(line);
            return true;
        }
    return false;
}

bool ReadImage(Bundle& bundle, Facts& facts)
{
    const std::string file = bundle.Extract("boot.wim", kImageCap);
    if (file.empty())
        return false;
    facts.wim = ReadWimInfo(file);
    facts.wimFile = file;
    return true;
}

// Rows of a wmic table that could not be cut, and rows left out.
void NoteWmicTable(Bundle& bundle, const std::string& entry, const Text& text, const WmicTable& table)
{
    if (table.headings.empty())
    {
        bundle.Note(entry, "holds no table of wmic's");
        return;
    }
    size_t unread = 0;
    for (const WmicRow& row : table.rows)
        unread += std::count(row.read.begin(), row.read.end(), false) > 0;
    if (unread)
        bundle.Note(entry, std::to_string(unread) + " of its " + std::to_string(table.rows.size()) +
                               " rows could not be cut into all their columns" +
                               (text.lostCharacters ? " (letters lost to the code page leave their widths unknown)" : "") +
                               ": what those cells say is unknown");
    if (table.rowsLeftOut)
        bundle.Note(entry, "only its first " + std::to_string(kMaxWmicRows) + " rows were read");
}

void NoteLeftOut(Bundle& bundle, const std::string& entry, size_t leftOut)
{
    if (leftOut)
        bundle.Note(entry, "lists " + std::to_string(leftOut) + " more storage and network controllers than the report reads (" +
                               std::to_string(kControllerCap) + "); they were left out");
}

// The instance id of a disk's PNPDeviceID: its last part ("5&1ec51bf7&0&000000").
std::string InstancePart(const std::string& pnpDeviceId)
{
    const size_t slash = pnpDeviceId.rfind('\\');
    return slash == std::string::npos ? "" : AsciiLower(pnpDeviceId.substr(slash + 1));
}

// The controller whose children's instance ids begin with its ParentIdPrefix; -1 when none.
int ControllerOf(const std::vector<Controller>& controllers, const Disk& disk)
{
    const std::string instance = InstancePart(disk.pnpDeviceId);
    for (size_t i = 0; i < controllers.size() && !instance.empty(); ++i)
    {
        const std::string prefix = AsciiLower(controllers[i].parentIdPrefix) + "&";
        if (prefix.size() > 1 && instance.compare(0, prefix.size(), prefix) == 0)
            return static_cast<int>(i);
    }
    return -1;
}

// A controller with a disk that wmic lists is present.
void PresentBehindDisks(Facts& facts)
{
    for (const Disk& disk : facts.disks)
    {
        const int controller = ControllerOf(facts.controllers, disk);
        if (controller < 0)
            continue;
        Controller& found = facts.controllers[static_cast<size_t>(controller)];
        found.presence = Presence::Present;
        found.presenceWhy = facts.disksEntry + " line " + std::to_string(disk.line) + " lists disk " + disk.index + " behind it";
    }
}

// The MBR disk the system starts from: the current loader's osdevice, else mpdiag.log's system
// partition. A GPT disk cannot be told: wmic does not list disk GUIDs.
bool SystemDiskSignature(const Facts& facts, uint32_t& signature, Clue& clue)
{
    const BcdObject* loader = nullptr;
    RecoveryLoader(facts, &loader);
    // Windows lies on the loader's osdevice; the device (where winload lies) stands in without one.
    const bool os = loader && loader->osDevice.kind == BcdDevice::Kind::Partition;
    const BcdDevice* device = !loader ? nullptr : os ? &loader->osDevice : &loader->device;
    if (device && device->kind == BcdDevice::Kind::Partition && device->fromElement && device->partitionRead && !device->gpt)
    {
        signature = device->signature;
        clue = {facts.store.entry, os ? loader->osDeviceWhere.line : loader->deviceWhere.line,
                std::string("the current loader's ") + (os ? "osdevice" : "device") + ": " + device->Describe()};
        return true;
    }
    if (facts.hint.known && !facts.hint.gpt)
    {
        signature = facts.hint.signature;
        clue = {facts.logEntry, 0, "the system partition lies on the MBR disk whose signature the collector logged"};
        return true;
    }
    return false;
}

void FindSystemDiskController(Facts& facts)
{
    uint32_t signature = 0;
    Clue start;
    if (!SystemDiskSignature(facts, signature, start))
        return;
    for (const Disk& disk : facts.disks)
    {
        if (!disk.Mbr() || disk.SignatureValue() != signature)
            continue;
        const int found = ControllerOf(facts.controllers, disk);
        if (found < 0)
            return;
        std::rotate(facts.controllers.begin(), facts.controllers.begin() + found, facts.controllers.begin() + found + 1);
        const Controller& controller = facts.controllers.front();
        facts.systemDiskClues = {start,
                                 {facts.disksEntry, disk.line, "disk " + disk.index + " has that signature; its PNPDeviceID is " + disk.pnpDeviceId},
                                 {controller.entry, controller.line, controller.instance + " has ParentIdPrefix " + controller.parentIdPrefix}};
        return;
    }
}

bool ReadDisks(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("wmic_disks.log");
    if (!text)
        return false;
    facts.disksEntry = bundle.StoredName("wmic_disks.log");
    const WmicTable table = ParseWmicTable(*text);
    NoteWmicTable(bundle, facts.disksEntry, *text, table);
    facts.disks = DisksFromWmic(table);
    return true;
}

bool ReadUpdates(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("wmic_hotfix.log");
    if (!text)
        return false;
    facts.updatesEntry = bundle.StoredName("wmic_hotfix.log");
    const WmicTable table = ParseWmicTable(*text);
    NoteWmicTable(bundle, facts.updatesEntry, *text, table);
    facts.updates = table.rowsLeftOut ? -1 : CountWmicUpdates(table);
    return true;
}

bool ReadProblemDevices(Bundle& bundle, Facts& facts, ControllerList& problems)
{
    const auto text = bundle.Captured("devices.txt");
    if (!text)
        return false;
    facts.devicesEntry = bundle.StoredName("devices.txt");
    problems = ParseDevicesTxt(*text, facts.devicesEntry);
    NoteLeftOut(bundle, facts.devicesEntry, problems.leftOut);
    return true;
}

bool ReadDeviceTree(Bundle& bundle, Facts& facts, ControllerList& tree)
{
    const auto text = bundle.SystemText("enum.reg");
    if (!text)
        return false;
    facts.enumEntry = bundle.StoredName("enum.reg");
    size_t skipped = 0;
    const RegTree registry = ParseRegExport(*text, skipped);
    NoteTreeGaps(bundle, facts.enumEntry, registry, skipped);
    tree = ControllersFromEnum(registry, "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum", facts.enumEntry);
    NoteLeftOut(bundle, facts.enumEntry, tree.leftOut);
    return true;
}

void GatherControllers(Bundle& bundle, Facts& facts)
{
    ControllerList problems, tree;
    bundle.Isolated("devices.txt", kReaderStopped, [&] { return ReadProblemDevices(bundle, facts, problems); });
    bundle.Isolated("enum.reg", kReaderStopped, [&] { return ReadDeviceTree(bundle, facts, tree); });
    bundle.Isolated("devices.txt", kReaderStopped, [&] {
        facts.controllers = MergeControllers(tree.controllers, problems.controllers);
        PresentBehindDisks(facts);
        FindSystemDiskController(facts);
        return true;
    });
}
} // namespace

bool IsMpdiagArchive(const Archive& archive)
{
    for (const char* name : kCollectorFiles)
        if (archive.Find(name))
            return true;
    return false;
}

const BcdObject* RecoveryLoader(const Facts& facts, const BcdObject** current)
{
    std::string how;
    const BcdObject* loader = facts.hasStore ? CurrentLoader(facts.store, facts.hint, how) : nullptr;
    if (current)
        *current = loader;
    if (!loader || loader->recoverySequence.empty())
        return nullptr;
    return facts.store.Find(loader->recoverySequence.front());
}

Facts Gather(Bundle& bundle)
{
    Facts facts;
    const Archive& archive = bundle.Zip();
    facts.wimEntry = bundle.StoredName("boot.wim");
    for (const ArchiveEntry& entry : archive.Entries())
        if (entry.key.compare(0, 16, "system32/winevt/") == 0)
            facts.extended = true;
    facts.extended = facts.extended || !facts.wimEntry.empty();

    // Each reader on its own: whatever one of them throws is a note on its file, and the others go on.
    auto read = [&](const char* name, bool (*reader)(Bundle&, Facts&)) {
        return bundle.Isolated(name, kReaderStopped, [&] { return reader(bundle, facts); });
    };
    read("systeminfo.log", ReadSystemInfo);
    read("mpdiag.log", ReadDiagLog);
    facts.hasStore = read("BCD00000000.reg", ReadStoreFromRegistry) || read("BCD00000000.hiv", ReadStoreFromHive) ||
                     read("bcdedit_all.log", ReadStoreFromBcdedit);
    read("recovery_path.log", ReadRecoveryPath);
    if (!facts.wimEntry.empty())
        read("boot.wim", ReadImage);
    read("wmic_disks.log", ReadDisks);
    read("wmic_hotfix.log", ReadUpdates);
    GatherControllers(bundle, facts);
    return facts;
}
} // namespace report
