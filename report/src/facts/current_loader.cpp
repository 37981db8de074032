#include "facts/current_loader.h"

#include <cstdlib>

namespace report
{
namespace
{
bool Referenced(const BootStore& store, const std::string& id)
{
    for (const BcdObject& object : store.objects)
        for (const std::string& entry : object.recoverySequence)
            if (entry == id)
                return true;
    return false;
}

bool MatchesHint(const BcdDevice& device, const SystemPartitionHint& hint)
{
    if (!device.fromElement || device.kind != BcdDevice::Kind::Partition || !device.partitionRead)
        return false;
    if (hint.gpt)
        return EqualsNoCase(device.diskGuid, hint.diskGuid) && EqualsNoCase(device.partitionGuid, hint.partitionGuid);
    return device.signature == hint.signature && device.offset == hint.offset;
}
} // namespace

SystemPartitionHint HintFromLog(const std::vector<LogRecord>& log)
{
    SystemPartitionHint hint;
    bool signature = false, offset = false, diskGuid = false, partitionGuid = false;
    for (const LogRecord& record : log)
    {
        const std::string& m = record.message;
        auto after = [&](const char* prefix) { return m.compare(0, std::string(prefix).size(), prefix) == 0 ? m.substr(std::string(prefix).size()) : std::string(); };
        std::string value;
        if (!(value = after("System drive signature: ")).empty())
        {
            hint.signature = static_cast<uint32_t>(strtoul(value.c_str(), nullptr, 10));
            signature = true;
        }
        else if (!(value = after("System partition offset: ")).empty())
        {
            hint.offset = strtoll(value.c_str(), nullptr, 10);
            offset = true;
        }
        else if (!(value = after("Got drive signature (GPT): ")).empty())
        {
            hint.diskGuid = Trim(value);
            diskGuid = true;
        }
        else if (!(value = after("Got partition signature (GPT): ")).empty())
        {
            hint.partitionGuid = Trim(value);
            partitionGuid = true;
        }
    }
    hint.gpt = diskGuid && partitionGuid;
    hint.known = hint.gpt || (signature && offset);
    return hint;
}

const BcdObject* CurrentLoader(const BootStore& store, const SystemPartitionHint& hint, std::string& how)
{
    if (hint.known)
        for (const BcdObject& object : store.objects)
            if (object.loader && MatchesHint(object.device, hint))
            {
                how = "its device is the system partition that mpdiag.log names";
                return &object;
            }
    if (const BcdObject* current = store.Find("{current}"))
    {
        how = "bcdedit names it {current}";
        return current;
    }
    for (const BcdObject& object : store.objects)
        if (object.manager && !object.defaultObject.empty())
            if (const BcdObject* chosen = store.Find(object.defaultObject); chosen && chosen->loader)
            {
                how = "the boot manager starts it by default";
                return chosen;
            }
    std::vector<const BcdObject*> candidates;
    for (const BcdObject& object : store.objects)
        if (object.loader && object.device.kind == BcdDevice::Kind::Partition && object.winPe != 1 &&
            !Referenced(store, object.id))
            candidates.push_back(&object);
    if (candidates.size() == 1)
    {
        how = "it is the only Windows loader that is not a recovery loader";
        return candidates.front();
    }
    for (const BcdObject* object : candidates)
        if (!object->recoverySequence.empty())
        {
            how = "it is the first of " + std::to_string(candidates.size()) +
                  " Windows loaders with a recovery sequence (the store does not say which one runs)";
            return object;
        }
    return nullptr;
}
} // namespace report
