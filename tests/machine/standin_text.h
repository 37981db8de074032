#pragma once
// What bcdedit, wmic and systeminfo print on the sample machine, as text, before the stand-in
// encodes it for the pipe. The layouts are those of the real programs: bcdedit's element names
// in 24 columns, systeminfo's labels padded to the longest, wmic's columns two spaces wider than
// their widest cell, every wmic line padded to the table's width and ended by CR CR LF.
#include <string>

enum class Language
{
    English, // an English Windows with British settings (OEM code page 850)
    German,  // a German Windows (OEM code page 850): translated titles, labels and Yes/No
};

// "bcdedit /enum all": every object of the store.
std::wstring BcdeditEnumAll(Language language);
// "bcdedit" alone: the boot manager and the entries it displays.
std::wstring BcdeditActive(Language language);
std::wstring Systeminfo(Language language);
// "wmic qfe list brief /format:texttablewsys": the system properties' columns come first.
std::wstring WmicHotfixes();
// "wmic diskdrive list": the full table of the disk drives.
std::wstring WmicDisks();
