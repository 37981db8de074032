#pragma once
// The sample machine's own facts, in one place for every piece that describes the machine: its
// boot configuration store, the stand-ins' outputs and the recovery image. Support's reader is
// tested against bundles of this machine, so a fact changed here changes what it must find.
//
// One MBR disk of 64424509440 bytes, signature 0x5A3C9E01, with one partition, C:, from 1 MiB
// to the end: it holds the boot manager, Windows and the recovery image below
// C:\Recovery\WindowsRE, as Wine has only the one drive.

namespace sample
{
const wchar_t kHostName[] = L"SAMPLE-PC";
const unsigned long kDiskSignature = 0x5A3C9E01;
const long long kDiskSize = 64424509440LL;
const long long kSystemOffset = 1LL << 20;

// Objects of the boot store, as their keys below HKLM\BCD00000000\Objects name them.
const wchar_t kBootManager[] = L"{9dea862c-5cdd-4e70-acc1-f32b344d4795}";
const wchar_t kLoader[] = L"{4f2c1a8e-7b3d-11ef-a1c4-0021cc6b2e10}";
const wchar_t kRecoveryLoader[] = L"{4f2c1a8f-7b3d-11ef-a1c4-0021cc6b2e10}";
const wchar_t kRamdiskOptions[] = L"{4f2c1a90-7b3d-11ef-a1c4-0021cc6b2e10}";
const wchar_t kResume[] = L"{4f2c1a8d-7b3d-11ef-a1c4-0021cc6b2e10}";
const wchar_t kMemoryTester[] = L"{b2721d73-1db4-4c62-bf78-c548a880142d}";
const wchar_t kEmsSettings[] = L"{0ce4991b-e6b3-4b16-b23c-5e0d9250e5d9}";
const wchar_t kDebuggerSettings[] = L"{4636856e-540f-4170-a130-a84776f4c654}";
const wchar_t kBadMemory[] = L"{5189b25c-5558-4bf2-bca4-289b11bd29e2}";
const wchar_t kGlobalSettings[] = L"{7ea2e1ac-2e61-4728-aaa3-896d9d0a9f0e}";
const wchar_t kLoaderSettings[] = L"{6efb52bf-1766-41db-a6b3-0ee5eff72bd7}";
const wchar_t kHypervisorSettings[] = L"{7ff607e0-4395-11db-b0de-0800200c9a66}";
const wchar_t kResumeLoaderSettings[] = L"{1afa9c49-16ab-4a5c-901b-212802da9460}";

// The system's loader carries a description its owner gave it, with a letter outside ASCII.
const wchar_t kLoaderDescription[] = L"Windows 10 (B\u00fcro)";
const wchar_t kRecoveryImage[] = L"\\Recovery\\WindowsRE\\Winre.wim";
const wchar_t kRamdiskSdi[] = L"\\Recovery\\WindowsRE\\boot.sdi";

// The machine speaks English with British settings, or, with this variable set to "de" in the
// environment of the programs that make and run it, German. Its boot entries carry the locale.
const char kLanguageVariable[] = "MPDIAG_STANDIN_LANGUAGE";
const wchar_t kEnglishLocale[] = L"en-GB";
const wchar_t kGermanLocale[] = L"de-DE";
} // namespace sample
