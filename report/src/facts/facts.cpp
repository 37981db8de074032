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
    facts.store = std::move(store);
    facts.storeNote = "read from " + facts.store.entry + " (" +
                      (facts.store.language.empty() ? "labels of an unknown language" : facts.store.language + " labels") +
                      ": the registry export of the store is missing)";
    return true;
}

bool ReadSystemInfo(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("systeminfo.log");
    if (!text)
        return false;
    const std::string entry = bundle.StoredName("systeminfo.log");
    SystemInfo info = ParseSystemInfo(*text);
    const bool empty = std::all_of(text->lines.begin(), text->lines.end(), [](const std::string& line) { return Trim(line).empty(); });
    if (empty)
        bundle.Note(entry, "is empty: the machine is not described");
    else if (info.language.empty())
        bundle.Note(entry, "its labels are in a language that the report's label table does not hold: the machine is not described");
    facts.systemInfoEntry = entry;
    facts.systemInfo = std::move(info);
    facts.windowsPe = StartsWithNoCase(facts.Installed(SystemInfoField::WindowsDirectory), "X:");
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

bool ReadDisks(Bundle& bundle, Facts& facts)
{
    const auto text = bundle.Captured("wmic_disks.log");
    if (!text)
        return false;
    facts.disks = ParseWmicDisks(*text);
    facts.disksEntry = bundle.StoredName("wmic_disks.log");
    return true;
}

bool ReadProblemDevices(Bundle& bundle, Facts& facts, std::vector<Controller>& problems)
{
    const auto text = bundle.Captured("devices.txt");
    if (!text)
        return false;
    const std::string entry = bundle.StoredName("devices.txt");
    problems = ParseDevicesTxt(*text, entry);
    facts.devicesEntry = entry;
    return true;
}

bool ReadDeviceTree(Bundle& bundle, Facts& facts, std::vector<Controller>& tree)
{
    const auto text = bundle.SystemText("enum.reg");
    if (!text)
        return false;
    const std::string entry = bundle.StoredName("enum.reg");
    size_t skipped = 0;
    const RegTree registry = ParseRegExport(*text, skipped);
    NoteTreeGaps(bundle, entry, registry, skipped);
    tree = ControllersFromEnum(registry, entry);
    facts.enumEntry = entry;
    return true;
}

void GatherControllers(Bundle& bundle, Facts& facts)
{
    std::vector<Controller> problems, tree;
    bundle.Isolated("devices.txt", kReaderStopped, [&] { return ReadProblemDevices(bundle, facts, problems); });
    bundle.Isolated("enum.reg", kReaderStopped, [&] { return ReadDeviceTree(bundle, facts, tree); });
    bundle.Isolated("devices.txt", kReaderStopped, [&] {
        facts.controllers = MergeControllers(tree, problems);
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
    GatherControllers(bundle, facts);
    return facts;
}
} // namespace report
