"""Makes the sample machine's recovery image with wimlib: one bootable image of a recovery
environment for x64, Windows build 19041, holding the INF files of its drivers in Windows\\INF
and in the driver store. They match the sample machine's SATA controller (PCI\\VEN_8086&DEV_2922)
and its RAID controller (PCI\\VEN_1000&DEV_0079), but not its network adapter
(PCI\\VEN_8086&DEV_10D3): the one network driver in the image is for another adapter.

    make_recovery_image.py OUTPUT.wim [WIMLIB_IMAGEX]
"""
import os
import subprocess
import sys
import tempfile

STORAGE = "{4d36e97b-e325-11ce-bfc1-08002be10318}"
NETWORK = "{4d36e972-e325-11ce-bfc1-08002be10318}"

# INF name, folder suffix in the driver store, class, class GUID, device description, hardware ids
DRIVERS = [
    ("storahci", "2a9c4e5d1f0b7386", "SCSIAdapter", STORAGE, "Standard SATA AHCI Controller",
     ["PCI\\VEN_8086&DEV_2922", "PCI\\CC_010601"]),
    ("megasas", "5f1d0c8e7a3b9264", "SCSIAdapter", STORAGE, "LSI MegaRAID SAS Adapter",
     ["PCI\\VEN_1000&DEV_0079&SUBSYS_92631000", "PCI\\VEN_1000&DEV_0079"]),
    ("netrtl64", "8e4b1a7c3d2f6059", "Net", NETWORK, "Realtek PCIe GbE Family Controller",
     ["PCI\\VEN_10EC&DEV_8168"]),
]

PROPERTIES = {
    "WINDOWS/ARCH": "9",
    "WINDOWS/PRODUCTNAME": "Microsoft\u00ae Windows\u00ae Operating System",
    "WINDOWS/EDITIONID": "WindowsPE",
    "WINDOWS/INSTALLATIONTYPE": "WindowsPE",
    "WINDOWS/PRODUCTTYPE": "WinNT",
    "WINDOWS/SYSTEMROOT": "WINDOWS",
    "WINDOWS/LANGUAGES/LANGUAGE": "en-US",
    "WINDOWS/LANGUAGES/DEFAULT": "en-US",
    "WINDOWS/VERSION/MAJOR": "10",
    "WINDOWS/VERSION/MINOR": "0",
    "WINDOWS/VERSION/BUILD": "19041",
    "WINDOWS/VERSION/SPBUILD": "1",
    "WINDOWS/VERSION/SPLEVEL": "0",
}


def inf(name, driver_class, class_guid, description, ids):
    lines = [f"; {name}.inf", "", "[Version]", 'Signature="$WINDOWS NT$"', f"Class={driver_class}",
             f"ClassGuid={class_guid}", "Provider=%MSFT%", "DriverVer=06/21/2006,10.0.19041.1", "PnpLockdown=1", "",
             "[Manufacturer]", "%STDMFG%=Standard,NTamd64", "", "[Standard.NTamd64]"]
    lines += [f"%DeviceDesc% = {name}_Inst, {i}" for i in ids]
    lines += ["", f"[{name}_Inst]", "CopyFiles=Drivers_Dir", "", "[Drivers_Dir]", f"{name}.sys", "",
              "[Strings]", 'MSFT = "Microsoft"', 'STDMFG = "(Standard controllers)"', f'DeviceDesc = "{description}"',
              ""]
    return "\r\n".join(lines).encode("ascii")


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as f:
        f.write(data)


def main(out, imagex):
    with tempfile.TemporaryDirectory() as tree:
        for name, suffix, driver_class, class_guid, description, ids in DRIVERS:
            text = inf(name, driver_class, class_guid, description, ids)
            write(os.path.join(tree, "Windows", "INF", name + ".inf"), text)
            store = os.path.join(tree, "Windows", "System32", "DriverStore", "FileRepository",
                                 f"{name}.inf_amd64_{suffix}")
            write(os.path.join(store, name + ".inf"), text)
        write(os.path.join(tree, "Windows", "System32", "winpeshl.ini"),
              b"[LaunchApps]\r\n%SYSTEMDRIVE%\\sources\\recovery\\recenv.exe\r\n")
        os.makedirs(os.path.dirname(os.path.abspath(out)), exist_ok=True)
        if os.path.exists(out):
            os.remove(out)
        name = "Microsoft Windows Recovery Environment (x64)"
        subprocess.run([imagex, "capture", tree, out, name, name, "--boot"], check=True,
                       stdout=subprocess.DEVNULL)
        properties = [a for k, v in PROPERTIES.items() for a in ("--image-property", f"{k}={v}")]
        subprocess.run([imagex, "info", out, "1"] + properties, check=True, stdout=subprocess.DEVNULL)


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "wimlib-imagex")
