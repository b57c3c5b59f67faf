"""The scenarios of a sweep and their initial states."""
import contextlib
import dataclasses
import io
import os
import shutil
import subprocess
import zipfile
import zlib

from judge import OWN_DATA, Module, content

HKLM = r"HKLM\SOFTWARE\Quillon Systems\Tessaly Studio\7.0"
HKCU = r"HKCU\SOFTWARE\Quillon Systems\Tessaly Studio\7.0"
COMMON = "home/folders/CommonAppData/Quillon Systems/Tessaly Studio/"

# The packs' programs act atomically: they aren't under test.
SERVER = b"""#!/bin/sh
echo done > "$0.$$" && exec mv "$0.$$" "$0${1#/}.mark"
"""
REGSVR32 = b"""#!/bin/sh
for word; do :; done
[ "$1" = /u ] && mark=unregistered || mark=registered
echo done > "$word.$$" && exec mv "$word.$$" "$word.$mark"
"""
INSTALL = b"""#!/bin/sh
mkdir -p "$1" && cp "${0%/*}/list.txt" "$1/list.$$" && exec mv "$1/list.$$" "$1/list.txt"
"""
FINISH = rb"""#!/bin/sh
exec "$1" set 'HKLM\SOFTWARE\Quillon Systems\Tessaly Studio\7.0\Version' 'Version: Finisher' sz 2.0
"""
PROGRAMS = ("tslyCheckNew", "tslyReg")
DONE = content(b"done\n")
NOISE = b"".join(zlib.crc32(b"%d" % number).to_bytes(4, "big") for number in range(700))
LIST = b"C200\r\n" * 50
LONG = b"All work and no play. " * 9000  # many writes, few bytes to fetch


@dataclasses.dataclass
class Update:
    folder: str  # where its pack is unpacked
    files: dict  # name: bytes
    actions: list
    effects: dict  # files that its programs create, and its files elsewhere
    url: str = ""  # of its pack, below the server's address; default: its name

    def pack_url(self, name):
        return self.url or name + ".zip"


UPDATES = {
    "Designer": Update("app/", {"Designer/designer.dat": NOISE, "Designer/long.txt": LONG, "Designer/server": SERVER},
                       [r"unzip:{app}", r"register exe:{app}Designer\server", r"unregister exe:{app}Designer\server"],
                       {"app/Designer/serverregserver.mark": DONE, "app/Designer/serverunregserver.mark": DONE}),
    "Profiles": Update(OWN_DATA + "profiles/", {"install": INSTALL, "list.txt": LIST, "part.dll": NOISE[:99]},
                       [r"unzip:{current}profiles", r'run:"{current}profiles\install" "{commonappdata}Profiles"',
                        r"register dll:{current}profiles\part.dll", r"unregister dll:{current}profiles\part.dll"],
                       {COMMON + "Profiles": None, COMMON + "Profiles/list.txt": content(LIST),
                        OWN_DATA + "profiles/part.dll.registered": DONE,
                        OWN_DATA + "profiles/part.dll.unregistered": DONE}),
    "Samples": Update(COMMON, {"Samples/card1.svg": b"<svg>new</svg>", "Samples/card2.svg": b"<svg/>" * 40,
                               "Samples/Old cards/Deep/card3.svg": NOISE[:500]}, [r"unzip:{commonappdata}"], {}),
}
# Its program records the version whatever happens to the updater, so no other pack may replace the program.
FINISHER = {"Finisher": Update("app/last/", {"finish": FINISH},
                               [r"unzip:{app}last", r'execute:"{app}last\finish" "{app}tslyReg"'], {})}
IMPORT = rb"""Windows Registry Editor Version 5.00

[HKEY_CURRENT_USER\SOFTWARE\Quillon Systems\Tessaly Studio\7.0]
"Language"="French"
"Printer"=-
"Window"=dword:0000002a

[HKEY_LOCAL_MACHINE\SOFTWARE\Quillon Systems\Tessaly Studio\7.0\Version]
"Version: Designer"="0.9"
"Blob"=hex:00,01,02,03

[-HKEY_CURRENT_USER\SOFTWARE\Quillon Systems\Old]

[HKEY_CLASSES_ROOT\.tsly]
@="TessalyStudio.Card"
"""


@dataclasses.dataclass
class Scenario:
    name: str
    command: list  # the disturbed run
    clicks: str
    again: list  # the next start
    again_clicks: str
    updates: dict
    installed: bool = False  # the updates are already installed
    fresh: bool = False  # nothing is installed yet
    ends_early: bool = False  # through an action line
    choices: tuple = ()  # values that may stay unchanged: the user's choice was interrupted


DIALOG, SHOW, INSTALL_ALL = ["tslyCheckNew"], ["tslyCheckNew", "/showupdates"], "cmdInstall*1 cmdClose*1 cmdOK"
SCENARIOS = [
    Scenario("first-start", DIALOG, "cmdOK", DIALOG, "cmdOK", {}, fresh=True),
    Scenario("nothing-new", SHOW, INSTALL_ALL, SHOW, INSTALL_ALL, UPDATES, installed=True),
    Scenario("install", SHOW, INSTALL_ALL, SHOW, INSTALL_ALL, UPDATES),
    Scenario("execute", SHOW, INSTALL_ALL, SHOW, INSTALL_ALL, FINISHER, ends_early=True),
    Scenario("settings", DIALOG, "lblInfo(103)*2 cmdOK", DIALOG, "cmdOK", {}, choices=("updates checked every",)),
    Scenario("import", ["tslyReg", "import", "bin/new.reg"], "", ["tslyReg", "import", "bin/new.reg"], "", {}),
]


def named(name):
    return next(each for each in SCENARIOS if each.name == name)


def pack_of(files):
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, data in files.items():
            entry = zipfile.ZipInfo(name, (2026, 11, 1, 12, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o100755 if data.startswith(b"#!") else 0o100644) << 16
            archive.writestr(entry, data)
    return buffer.getvalue()


def copy(source, target):
    """For shutil.copytree. Links the programs: nothing writes to them, and copies would fill a small file system."""
    if os.path.basename(source) in PROGRAMS:
        with contextlib.suppress(OSError):  # another file system
            return os.link(source, target)
    return shutil.copy2(source, target)


def write(path, data):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)
    os.chmod(path, 0o755 if data.startswith(b"#!") else 0o644)


def website(updates, address):
    """The pages of the maker's server by name: the updates file and the packs."""
    text = "[Versions]\n" + "".join(f"{name}=2.0\n" for name in updates)
    pages = {}
    for name, update in updates.items():
        pack = pages[update.pack_url(name)] = pack_of(update.files)
        text += (f"[Localization - English]\n{name}:Description={name} 2\n{name}:Summary=New.\n[{name}]\n"
                 f"Download URL={address}/{update.pack_url(name)}\nSize={len(pack)}\nCRC32={zlib.crc32(pack):X}\n"
                 "Stop application=no\nReleased=11/2026\n")
        text += "".join(f"Action {number}={action}\n" for number, action in enumerate(update.actions, 1))
    pages["updates.txt"] = text.encode()
    return pages


def modules_of(updates):
    return {name: Module("2.0", {update.folder + file: content(data, data.startswith(b"#!"))
                                 for file, data in update.files.items()}, update.effects)
            for name, update in updates.items()}


def prepare(scenario, programs, folder, address):
    """Creates the initial state in `folder`."""
    app = os.path.join(folder, "app")
    os.makedirs(app)
    for name in PROGRAMS:
        copy(os.path.join(programs, name), os.path.join(app, name))
    for name in ("Languages", "Skins"):
        shutil.copytree(os.path.join(programs, name), os.path.join(app, name))
    write(folder + "/bin/REGSVR32.EXE", REGSVR32)
    write(folder + "/bin/new.reg", IMPORT)
    os.makedirs(folder + "/home")
    if scenario.fresh:
        return
    write(folder + "/app/Designer/designer.dat", b"old")
    write(folder + "/app/Designer/notes of the user.txt", b"mine")
    write(folder + "/" + COMMON + "Samples/card1.svg", b"<svg>old</svg>")
    write(folder + "/" + COMMON + "Samples/Card of the user.svg", b"<svg>mine</svg>")
    values = [(HKCU, "Language", "sz", "German"), (HKCU, "Printer", "sz", "Quillon C200"),
              (HKLM, "Serial", "dword", "7"),
              (HKCU.replace("Tessaly Studio", "Old"), "Key", "binary", "0102"), (r"HKCR\.card", "", "sz", "Card"),
              (HKLM + r"\Version", "Version file URL", "sz", address + "/updates.txt"),
              (HKLM + r"\Version", "Updates checked every", "dword", "1" if scenario.choices else "0"),
              (HKLM + r"\Version", "Updates checked on", "sz", "60000000"),
              (HKLM + r"\Version", "Version: Foreign", "sz", "3.1"),
              (HKLM + r"\Version", "Version: Designer", "sz", "1.0")]
    if scenario.installed:
        values += [(HKLM + r"\Version", f"Version: {name}", "sz", "2.0") for name in scenario.updates]
        for module in scenario.updates.values():
            for name, data in module.files.items():
                write(os.path.join(folder, module.folder + name), data)
            for name in (name for name, whole in module.effects.items() if whole):
                write(os.path.join(folder, name), module.files.get(os.path.basename(name), b"done\n"))
    for words in values:
        subprocess.run([app + "/tslyReg", "set", *words], env={"TSLY_HOME": folder + "/home"}, check=True)
