// The shadow-copy source: the real library under Wine, and a fake backup-components object
// reached through the library seam for the paths Wine cannot take.
#include "CFileCopierFS.h"

#include "test_support.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>

namespace
{
struct FakeVss;
FakeVss* g_fake = nullptr;

class FakeAsync : public IVssAsync
{
public:
    FakeAsync(std::vector<std::string>* calls, HRESULT wait) : m_calls(calls), m_wait(wait) {}
    ULONG refs = 1;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override
    {
        m_calls->push_back("Async.Release");
        return --refs;
    }
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    HRESULT STDMETHODCALLTYPE Cancel() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Wait(DWORD milliseconds) override
    {
        m_calls->push_back("Wait(" + std::to_string(milliseconds) + ")");
        return m_wait;
    }
    HRESULT STDMETHODCALLTYPE QueryStatus(HRESULT*, INT*) override { return E_NOTIMPL; }

private:
    std::vector<std::string>* m_calls;
    HRESULT m_wait;
};

// Answers each call with the result set for it (S_OK otherwise) and records it.
class FakeBackup : public IVssBackupComponents
{
public:
    FakeBackup(FakeVss* world);
    ULONG refs = 1;
    ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }

    HRESULT STDMETHODCALLTYPE InitializeForBackup(BSTR xml) override
    {
        return Step(std::string("InitializeForBackup(") + (xml ? "xml" : "null") + ")");
    }
    HRESULT STDMETHODCALLTYPE SetBackupState(boolean select, boolean bootable, VSS_BACKUP_TYPE type,
                                             boolean partial) override
    {
        return Step("SetBackupState(" + std::to_string(select) + "," + std::to_string(bootable) + "," +
                    std::to_string(type) + "," + std::to_string(partial) + ")");
    }
    HRESULT STDMETHODCALLTYPE GatherWriterMetadata(IVssAsync** async) override
    {
        return AsyncStep("GatherWriterMetadata", async);
    }
    HRESULT STDMETHODCALLTYPE PrepareForBackup(IVssAsync** async) override { return AsyncStep("PrepareForBackup", async); }
    HRESULT STDMETHODCALLTYPE BackupComplete(IVssAsync** async) override { return AsyncStep("BackupComplete", async); }
    HRESULT STDMETHODCALLTYPE DoSnapshotSet(IVssAsync** async) override { return AsyncStep("DoSnapshotSet", async); }
    HRESULT STDMETHODCALLTYPE StartSnapshotSet(VSS_ID* id) override
    {
        *id = kSetId;
        return Step("StartSnapshotSet");
    }
    HRESULT STDMETHODCALLTYPE AddToSnapshotSet(VSS_PWSZ volume, VSS_ID provider, VSS_ID* id) override
    {
        *id = kSnapshotId;
        return Step("AddToSnapshotSet(" + wxString(volume).utf8_string() + "," +
                    (IsEqualGUID(provider, GUID_NULL) ? "null" : "provider") + ")");
    }
    HRESULT STDMETHODCALLTYPE GetSnapshotProperties(VSS_ID id, VSS_SNAPSHOT_PROP* prop) override;

#include "vss_unused_methods.inc"

    static constexpr VSS_ID kSetId = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    static constexpr VSS_ID kSnapshotId = {9, 8, 7, {6, 5, 4, 3, 2, 1, 0, 0}};

private:
    HRESULT Step(const std::string& call);
    HRESULT AsyncStep(const std::string& call, IVssAsync** async);
    FakeVss* m_world;
};

// Everything the fake hands out, kept until the test ends so reference counts can be read.
struct FakeVss
{
    std::vector<std::string> calls;
    std::map<std::string, HRESULT> results; // by call name, or "Wait:<step>"
    std::vector<std::unique_ptr<FakeBackup>> backups;
    std::vector<std::unique_ptr<FakeAsync>> asyncs;
    bool loads = true;
    bool exports = true;
    HRESULT factory = S_OK;
    std::string procName;
    wxString snapshotDevice;
    int propertiesFailures = 0; // GetSnapshotProperties fails this many times, then succeeds
    HRESULT coInitialize = S_OK;
    HRESULT coSecurity = S_OK;
    DWORD osMajor = 10;

    FakeVss()
    {
        g_fake = this;
        g_vssLibrary = {Load, GetProc, CoInitialize, CoSecurity, OSVersion};
    }
    ~FakeVss()
    {
        g_fake = nullptr;
        g_vssLibrary = {::LoadLibraryW, ::GetProcAddress, ::CoInitializeEx, ::CoInitializeSecurity, GetOSVersion};
    }

    HRESULT Result(const std::string& name) const
    {
        const auto found = results.find(name);
        return found == results.end() ? S_OK : found->second;
    }

    static HRESULT WINAPI CoInitialize(LPVOID reserved, DWORD model)
    {
        g_fake->calls.push_back(std::string("CoInitializeEx(") + (reserved ? "reserved" : "null") + "," +
                                std::to_string(model) + ")");
        return g_fake->coInitialize;
    }
    static HRESULT WINAPI CoSecurity(PSECURITY_DESCRIPTOR descriptor, LONG services, SOLE_AUTHENTICATION_SERVICE* list,
                                     void* reserved1, DWORD authentication, DWORD impersonation, void* authList,
                                     DWORD capabilities, void* reserved3)
    {
        const auto null = [](const void* p) { return std::string(p ? "set" : "null"); };
        g_fake->calls.push_back("CoInitializeSecurity(" + null(descriptor) + "," + std::to_string(services) + "," +
                                null(list) + "," + null(reserved1) + "," + std::to_string(authentication) + "," +
                                std::to_string(impersonation) + "," + null(authList) + "," +
                                std::to_string(capabilities) + "," + null(reserved3) + ")");
        return g_fake->coSecurity;
    }
    static OSVersionInfo& OSVersion(OSVersionInfo& info)
    {
        g_fake->calls.push_back("GetOSVersion");
        info = OSVersionInfo();
        info.versionMS = g_fake->osMajor << 16;
        return info;
    }
    static HMODULE WINAPI Load(LPCWSTR name)
    {
        g_fake->calls.push_back("LoadLibrary(" + wxString(name).utf8_string() + ")");
        return g_fake->loads ? reinterpret_cast<HMODULE>(0x10000) : nullptr;
    }
    static FARPROC WINAPI GetProc(HMODULE, LPCSTR name)
    {
        g_fake->procName = name;
        return g_fake->exports ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(Factory)) : nullptr;
    }
    static HRESULT __cdecl Factory(IVssBackupComponents** out)
    {
        g_fake->calls.push_back("Factory");
        if (FAILED(g_fake->factory))
            return g_fake->factory;
        g_fake->backups.push_back(std::make_unique<FakeBackup>(g_fake));
        *out = g_fake->backups.back().get();
        return S_OK;
    }
};

FakeBackup::FakeBackup(FakeVss* world) : m_world(world) {}

ULONG STDMETHODCALLTYPE FakeBackup::Release()
{
    m_world->calls.push_back("Backup.Release");
    return --refs;
}

HRESULT FakeBackup::Step(const std::string& call)
{
    m_world->calls.push_back(call);
    return m_world->Result(call.substr(0, call.find('(')));
}

HRESULT FakeBackup::AsyncStep(const std::string& call, IVssAsync** async)
{
    m_world->calls.push_back(call);
    const HRESULT result = m_world->Result(call);
    if (FAILED(result))
        return result;
    m_world->asyncs.push_back(std::make_unique<FakeAsync>(&m_world->calls, m_world->Result("Wait:" + call)));
    *async = m_world->asyncs.back().get();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE FakeBackup::GetSnapshotProperties(VSS_ID id, VSS_SNAPSHOT_PROP* prop)
{
    m_world->calls.push_back(std::string("GetSnapshotProperties(") +
                             (IsEqualGUID(id, kSnapshotId) ? "snapshot" : "other") + ")");
    if (m_world->propertiesFailures > 0)
    {
        --m_world->propertiesFailures;
        return E_FAIL;
    }
    const HRESULT result = m_world->Result("GetSnapshotProperties");
    if (SUCCEEDED(result))
        prop->m_pwszSnapshotDeviceObject = const_cast<wchar_t*>(static_cast<const wchar_t*>(m_world->snapshotDevice.wc_str()));
    return result;
}

const std::vector<std::string> kSuccessCalls = {
    "CoInitializeEx(null,0)", "CoInitializeSecurity(null,-1,null,null,6,2,null,0,null)",
    "LoadLibrary(VssApi.dll)", "Factory", "InitializeForBackup(null)", "GetOSVersion", "GatherWriterMetadata",
    "Wait(4294967295)",
    "Async.Release", "StartSnapshotSet", "AddToSnapshotSet(C:\\,null)", "SetBackupState(0,0,1,0)",
    "PrepareForBackup", "Wait(4294967295)", "Async.Release", "DoSnapshotSet", "Wait(4294967295)", "Async.Release",
    "GetSnapshotProperties(snapshot)"};

// A read-only copier made without a snapshot, whose snapshot steps the tests call directly.
struct DirectCopier
{
    ScratchDir dir;
    CFileCopierFS copier{dir.Path(), true, false, nullptr, false};
};
} // namespace

TEST(CreateVSSBackup, RealLibraryUnderWineFailsTwiceWithOnePauseAndRetryWarning)
{
    ScratchDir dir;
    RecordingLog log;
    const auto start = std::chrono::steady_clock::now();
    CFileCopierFS copier(dir.Path(), true, true, nullptr, false);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_FALSE(copier.IsOk());
    EXPECT_GE(elapsed, std::chrono::milliseconds(2000));
    EXPECT_LT(elapsed, std::chrono::milliseconds(10000));
    EXPECT_EQ(log.Count(wxLOG_Warning, "VSS snapshot failed - retrying"), 1) << log.Dump();
    // Both attempts fail at the same step, each logging that step's message once.
    std::vector<LogEntry> errors;
    for (const LogEntry& entry : log.entries)
        if (entry.level == wxLOG_Error)
            errors.push_back(entry);
    ASSERT_EQ(errors.size(), 2u) << log.Dump();
    EXPECT_EQ(errors[0].msg, errors[1].msg);
    EXPECT_EQ(errors[0].func, "CFileCopierFS::CreateVSSBackup");
    std::printf("Wine's shadow copy stops at line %d: %s\n", errors[0].line, errors[0].msg.utf8_string().c_str());
    EXPECT_EQ(copier.GetPath(), dir.Path());
}

TEST(CreateVSSBackup, FullSuccessReadsThroughTheSnapshotPath)
{
    ScratchDir dir;
    const wxString live = dir / "live";
    MakeDirs(live);
    WriteBytes(live + "\\a.log", "live copy");
    FakeVss fake;
    fake.snapshotDevice = dir / "snapshot";
    const wxString inSnapshot = fake.snapshotDevice + "\\" + live.Mid(3);
    MakeDirs(inSnapshot);
    WriteBytes(inSnapshot + "\\a.log", "snapshot copy");

    RecordingLog log;
    {
        CFileCopierFS source(live, true, true, nullptr, false);
        ASSERT_TRUE(source.IsOk()) << log.Dump();
        EXPECT_EQ(fake.calls, kSuccessCalls);
        EXPECT_EQ(fake.procName, "?CreateVssBackupComponents@@YAJPEAPEAVIVssBackupComponents@@@Z");
        EXPECT_EQ(source.GetPath(), inSnapshot);
        EXPECT_EQ(source.GetOrigPath(), live);
        const LogEntry path = log.Only("VSS path: " + inSnapshot);
        EXPECT_EQ(path.level, wxLOG_Message);
        EXPECT_EQ(path.line, 493);

        ScratchDir out;
        CFileCopierFS dest(out.Path(), false, false, nullptr, false);
        source.AddItem("a.log");
        source.CopyTo(&dest, true, "");
        EXPECT_EQ(ReadBytes(out / "a.log"), "snapshot copy");
        fake.calls.clear();
    }
    // Destruction sends the backup-complete notice, waits, and releases everything.
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"BackupComplete", "Wait(4294967295)", "Async.Release",
                                                    "Backup.Release"}));
    ASSERT_EQ(fake.backups.size(), 1u);
    EXPECT_EQ(fake.backups[0]->refs, 0u);
    for (const auto& async : fake.asyncs)
        EXPECT_EQ(async->refs, 0u);
}

namespace
{
struct FailingStep
{
    const char* key;     // the call (or "Wait:<call>") made to fail; "load", "export", "factory" for the library
    int line;
    const char* message; // %x receives 0x80004005
};

const FailingStep kSteps[] = {
    {"load", 384, "Cannot load VssApi.dll"},
    {"export", 392, "Cannot find CreateVssBackupComponents function"},
    {"factory", 398, "CreateVssBackupComponents() failed error 0x80004005"},
    {"InitializeForBackup", 404, "IVssBackupComponents->InitializeForBackup() failed error 0x80004005"},
    {"GatherWriterMetadata", 419, "IVssBackupComponents->GatherWriterMetadata() failed error 0x80004005"},
    {"Wait:GatherWriterMetadata", 425, "IVssAsync->Wait() on GatherWriterMetadata failed error 0x80004005"},
    {"StartSnapshotSet", 433, "IVssBackupComponents->StartSnapshotSet() failed error 0x80004005"},
    {"AddToSnapshotSet", 440, "IVssBackupComponents->AddToSnapshotSet() failed error 0x80004005"},
    {"SetBackupState", 446, "IVssBackupComponents->SetBackupState() failed error 0x80004005"},
    {"PrepareForBackup", 454, "IVssBackupComponents->PrepareForBackup() failed error 0x80004005"},
    {"Wait:PrepareForBackup", 460, "IVssAsync->Wait() on PrepareForBackup failed error 0x80004005"},
    {"DoSnapshotSet", 470, "IVssBackupComponents->DoSnapshotSet failed error 0x80004005"},
    {"Wait:DoSnapshotSet", 476, "IVssAsync->Wait() on DoSnapshotSet failed error 0x80004005"},
    {"GetSnapshotProperties", 486, "GetSnapshotProperties() failed error 0x80004005"},
};
} // namespace

TEST(CreateVSSBackup, EachFailingStepLogsItsMessageAndLineAndStops)
{
    for (const FailingStep& step : kSteps)
    {
        SCOPED_TRACE(step.key);
        DirectCopier direct;
        FakeVss fake;
        const std::string key = step.key;
        fake.loads = key != "load";
        fake.exports = key != "export";
        fake.factory = key == "factory" ? E_FAIL : S_OK;
        fake.results[key] = E_FAIL;
        RecordingLog log;
        EXPECT_FALSE(direct.copier.CreateVSSBackup("C:\\"));
        ASSERT_EQ(log.entries.size(), 1u) << log.Dump();
        EXPECT_EQ(log.entries[0].level, wxLOG_Error);
        EXPECT_EQ(log.entries[0].msg, step.message);
        EXPECT_EQ(log.entries[0].line, step.line);
        EXPECT_EQ(log.entries[0].func, "CFileCopierFS::CreateVSSBackup");
        EXPECT_EQ(direct.copier.GetPath(), direct.dir.Path());
        // The call that failed is the last one made.
        const std::string last = fake.calls.back();
        if (key.rfind("Wait:", 0) == 0)
        {
            EXPECT_EQ(last, "Wait(4294967295)");
        }
        else if (key != "load" && key != "export" && key != "factory")
        {
            EXPECT_EQ(last.substr(0, last.find('(')), key);
        }

        fake.calls.clear();
        direct.copier.ReleaseVSSBackup();
        const bool snapshotMade = key == "GetSnapshotProperties";
        if (fake.backups.empty())
        {
            EXPECT_TRUE(fake.calls.empty());
        }
        else if (snapshotMade)
        {
            EXPECT_EQ(fake.calls, (std::vector<std::string>{"BackupComplete", "Wait(4294967295)", "Async.Release",
                                                            "Backup.Release"}));
        }
        else
        {
            EXPECT_EQ(fake.calls, (std::vector<std::string>{"Backup.Release"}));
        }
        for (const auto& backup : fake.backups)
            EXPECT_EQ(backup->refs, 0u);
        // Only the async object of a failed wait stays unreleased.
        for (const auto& async : fake.asyncs)
            EXPECT_EQ(async->refs, key.rfind("Wait:", 0) == 0 && &async == &fake.asyncs.back() ? 1u : 0u);
    }
}

TEST(ReleaseVSSBackup, WithoutBackupObjectDoesNothingAndTwiceIsSafe)
{
    DirectCopier direct;
    FakeVss fake;
    direct.copier.ReleaseVSSBackup();
    EXPECT_TRUE(fake.calls.empty());

    fake.snapshotDevice = "\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy1";
    ASSERT_TRUE(direct.copier.CreateVSSBackup("C:\\"));
    fake.calls.clear();
    direct.copier.ReleaseVSSBackup();
    direct.copier.ReleaseVSSBackup();
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "Backup.Release"), 1);
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "BackupComplete"), 1);
}

TEST(ReleaseVSSBackup, FailedBackupCompleteIsLoggedAndStillReleases)
{
    DirectCopier direct;
    FakeVss fake;
    fake.snapshotDevice = "\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy1";
    fake.results["BackupComplete"] = E_FAIL;
    ASSERT_TRUE(direct.copier.CreateVSSBackup("C:\\"));
    RecordingLog log;
    fake.calls.clear();
    direct.copier.ReleaseVSSBackup();
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"BackupComplete", "Backup.Release"}));
    const LogEntry entry = log.Only("IVssBackupComponents->BackupComplete() failed error 0x80004005");
    EXPECT_EQ(entry.line, 73);
    EXPECT_EQ(entry.func, "CFileCopierFS::ReleaseVSSBackup");
    EXPECT_EQ(fake.backups[0]->refs, 0u);
}

TEST(ReleaseVSSBackup, FailedWaitOnBackupCompleteIsLogged)
{
    DirectCopier direct;
    FakeVss fake;
    fake.snapshotDevice = "\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy1";
    fake.results["Wait:BackupComplete"] = E_FAIL;
    ASSERT_TRUE(direct.copier.CreateVSSBackup("C:\\"));
    RecordingLog log;
    direct.copier.ReleaseVSSBackup();
    EXPECT_EQ(log.Only("IVssAsync->Wait() on BackupComplete failed error 0x80004005").line, 77);
    EXPECT_EQ(fake.asyncs.back()->refs, 0u) << "the async object is released all the same";
}

TEST(ReleaseVSSBackup, SecondAttemptAfterASnapshotIsReleasedWithoutTheNotice)
{
    ScratchDir dir;
    FakeVss fake;
    fake.snapshotDevice = dir / "snap";
    MakeDirs(fake.snapshotDevice + "\\" + dir.Path().Mid(3));
    fake.propertiesFailures = 1; // the first attempt gets past the snapshot, then fails
    RecordingLog log;
    {
        CFileCopierFS copier(dir.Path(), true, true, nullptr, false);
        EXPECT_TRUE(copier.IsOk()) << log.Dump();
        EXPECT_EQ(log.Count(wxLOG_Warning, "VSS snapshot failed - retrying"), 1);
    }
    // The notice went with the first backup object only; the flags it left make the second
    // object's release skip it.
    EXPECT_EQ(std::count(fake.calls.begin(), fake.calls.end(), "BackupComplete"), 1);
    ASSERT_EQ(fake.backups.size(), 2u);
    EXPECT_EQ(fake.backups[0]->refs, 0u);
    EXPECT_EQ(fake.backups[1]->refs, 0u);
}

// ---- the COM set-up and the version check before the backup object is used ----

TEST(CreateVSSBackup, ComAlreadyInitialisedIsAccepted)
{
    FakeVss fake;
    DirectCopier direct; // released before the fake goes
    fake.snapshotDevice = "\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy1";
    fake.coInitialize = S_FALSE;
    fake.coSecurity = RPC_E_TOO_LATE; // security set up earlier in this process
    RecordingLog log;
    EXPECT_TRUE(direct.copier.CreateVSSBackup("C:\\")) << log.Dump();
    EXPECT_EQ(fake.calls, kSuccessCalls);
    EXPECT_EQ(log.Count(wxLOG_Error, "CoInitializeSecurity() failed 0x80010119"), 0);
}

TEST(CreateVSSBackup, FailedComInitialisationStopsBeforeTheLibrary)
{
    FakeVss fake;
    DirectCopier direct; // released before the fake goes
    fake.coInitialize = RPC_E_CHANGED_MODE;
    RecordingLog log;
    EXPECT_FALSE(direct.copier.CreateVSSBackup("C:\\"));
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"CoInitializeEx(null,0)"}));
    ASSERT_EQ(log.entries.size(), 1u) << log.Dump();
    EXPECT_EQ(log.entries[0].level, wxLOG_Error);
    EXPECT_EQ(log.entries[0].msg, "CoInitialize() failed");
    EXPECT_EQ(log.entries[0].line, 362);
    EXPECT_EQ(log.entries[0].func, "CFileCopierFS::CreateVSSBackup");
}

TEST(CreateVSSBackup, RefusedComSecurityStopsWithItsCode)
{
    FakeVss fake;
    DirectCopier direct; // released before the fake goes
    fake.coSecurity = E_ACCESSDENIED;
    RecordingLog log;
    EXPECT_FALSE(direct.copier.CreateVSSBackup("C:\\"));
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"CoInitializeEx(null,0)",
                                                    "CoInitializeSecurity(null,-1,null,null,6,2,null,0,null)"}));
    ASSERT_EQ(log.entries.size(), 1u) << log.Dump();
    EXPECT_EQ(log.entries[0].level, wxLOG_Error);
    EXPECT_EQ(log.entries[0].msg, "CoInitializeSecurity() failed 0x80070005");
    EXPECT_EQ(log.entries[0].line, 377);
}

TEST(CreateVSSBackup, PreVistaSystemStopsAfterInitialisingTheBackupObject)
{
    FakeVss fake;
    DirectCopier direct; // released before the fake goes
    fake.osMajor = 5;
    RecordingLog log;
    EXPECT_FALSE(direct.copier.CreateVSSBackup("C:\\"));
    const std::vector<std::string> expected(kSuccessCalls.begin(), kSuccessCalls.begin() + 6);
    EXPECT_EQ(fake.calls, expected);
    ASSERT_EQ(log.entries.size(), 1u) << log.Dump();
    EXPECT_EQ(log.entries[0].msg, "Pre-Vista OS is not supported");
    EXPECT_EQ(log.entries[0].line, 410);
    EXPECT_EQ(log.entries[0].func, "CFileCopierFS::CreateVSSBackup");
    fake.calls.clear();
    direct.copier.ReleaseVSSBackup();
    EXPECT_EQ(fake.calls, (std::vector<std::string>{"Backup.Release"})) << "the caller releases what was made";
}

TEST(CreateVSSBackup, VistaIsTheFirstSupportedSystem)
{
    FakeVss fake;
    DirectCopier direct; // released before the fake goes
    fake.snapshotDevice = "\\\\?\\GLOBALROOT\\Device\\HarddiskVolumeShadowCopy1";
    fake.osMajor = 6;
    RecordingLog log;
    EXPECT_TRUE(direct.copier.CreateVSSBackup("C:\\")) << log.Dump();
}
