"""Reads the state that a run left, and finds its faults. A run is a folder with the program ("app"), its home ("home")
and the programs of the search path ("bin"); all names here are relative to it.
"""
import dataclasses
import hashlib
import os
import shutil
import sqlite3
import tempfile
import time

KEY = r"hklm\software\quillon systems\tessaly studio\7.0\version"
CHECKED_ON = (KEY, "updates checked on")
OWN_DATA = "home/folders/AppData/Quillon Systems/Tessaly Studio/"
LOG = OWN_DATA + "tslyUpdater.log"
LIST = " tslFiles.lst"  # of the files handed out, in their folder
# The log goes to the program's own folder if its usual folder can't be created; the folder for temporary files is
# created on first use.
MAY_APPEAR = ("app/tslyUpdater.log", "home/temp")
STORES = ("home/registry/user.sqlite", "home/registry/machine.sqlite")


@dataclasses.dataclass
class State:
    files: dict  # name: checksum and whether it is executable; None for a folder
    values: dict  # (key, name): (type, bytes), as the program reads them
    keys: set
    faults: list  # stores that can't be read


@dataclasses.dataclass
class Module:
    version: str
    files: dict  # name: its value in State.files once the module is installed
    effects: dict  # files that the programs of its action lines create


def content(data, runs=False):
    return hashlib.sha1(data).hexdigest()[:12] + ("x" if runs else "")


def files_below(folder):
    found = {}
    for place, folders, names in os.walk(folder):
        inside = os.path.relpath(place, folder) + "/" if place != folder else ""
        for name in folders:
            found[inside + name] = None
        for name in names:
            path = os.path.join(place, name)
            if os.path.islink(path):
                found[inside + name] = "-> " + os.readlink(path)
                continue
            with open(path, "rb") as file:
                found[inside + name] = content(file.read(), os.stat(path).st_mode & 0o100)
    return found


def read_store(path):
    """Its rows, read from a copy: reading must not repair what the next start has to repair."""
    with tempfile.TemporaryDirectory(dir=os.path.dirname(os.path.dirname(os.path.dirname(path)))) as folder:
        copy = os.path.join(folder, "store")
        shutil.copyfile(path, copy)
        if os.path.exists(path + "-journal"):
            shutil.copyfile(path + "-journal", copy + "-journal")
        store = sqlite3.connect(copy)
        try:
            sound = store.execute("PRAGMA integrity_check").fetchall()
            if sound != [("ok",)]:
                raise sqlite3.DatabaseError(str(sound))
            if store.execute("SELECT count(*) FROM sqlite_master").fetchone() == (0,):
                return [], []
            return (store.execute("SELECT parent, folded, deleted FROM keys").fetchall(),
                    store.execute("SELECT key, folded, type, data, base_type, base_data FROM vals").fetchall())
        finally:
            store.close()


def look(run):
    state = State(files_below(run), {}, set(), [])
    rows = []
    for name in reversed(STORES):
        if name not in state.files:
            continue
        try:
            keys, values = read_store(os.path.join(run, name))
        except sqlite3.Error as error:
            state.faults.append(f"{name} can't be read: {error}")
            continue
        state.keys |= {f"{parent}\\{folded}".lstrip("\\~") for parent, folded, deleted in keys if not deleted}
        rows += values
    overlays = []
    for key, name, kind, data, base_kind, base in rows:
        if key.startswith("~"):
            overlays.append(((key[1:], name), (kind, data), (base_kind, base)))
        else:
            state.values[key, name] = (kind, data)
    for place, value, base in overlays:  # valid only over the value that they replaced
        if state.values.get(place, (None, None)) == base:
            state.values[place] = value
    state.values = {place: value for place, value in state.values.items() if value[0] is not None}
    checked_on = state.values.get(CHECKED_ON)
    if checked_on and checked_on[0] == 1 and is_recent(checked_on[1]):
        state.values[CHECKED_ON] = (1, "now")
    return state


def is_recent(data):
    digits = bytes(data).rstrip(b"\0")
    local = time.time() + time.localtime().tm_gmtoff
    return digits.isdigit() and abs(int(digits) - (local / 60 + 25569 * 1440)) < 24 * 60


def recorded(state, modules):
    """The modules that are recorded in their new version."""
    return {name for name, module in modules.items()
            if state.values.get((KEY, f"version: {name}".lower())) == (1, module.version.encode() + b"\0")}


def judge_interrupted(now, before, end, modules, documents, programs_ran):
    """The faults of a state right after a disturbed run: everything has to be as before or as at the end.

    A program that can't be started counts as started, so the programs' files are checked only if nothing kept them from
    running.
    """
    faults = list(now.faults)
    for name in before.files.keys() | end.files.keys():
        if name in STORES or name == LOG:
            continue
        allowed = {place.files.get(name, "absent") for place in (before, end)}
        found = now.files.get(name, "absent")
        if name not in before.files and found == "absent":
            continue
        if found not in allowed:
            faults.append(f"{name} is {found}, allowed are {sorted(map(str, allowed))}")
    for name, whole in documents.items():
        if now.files.get(name, whole) != whole:
            faults.append(f"partial document: {name}")
    for place in before.values.keys() | end.values.keys() | now.values.keys():
        allowed = [before.values.get(place), end.values.get(place)] + [None, (1, "now")] * (place == CHECKED_ON)
        if now.values.get(place) not in allowed:
            faults.append(f"value {place[1]!r} is {now.values.get(place)}, allowed are {allowed}")
    for name in recorded(now, modules):
        made = modules[name].effects if programs_ran else {}
        for file, whole in (modules[name].files | made).items():
            if now.files.get(file) != whole:
                faults.append(f"{name} is recorded, but {file} is {now.files.get(file, 'absent')}")
    if faults == now.faults and (before.keys & end.keys) - now.keys:
        faults.append(f"keys are lost: {sorted((before.keys & end.keys) - now.keys)}")
    return faults


def judge_import(now, before, end, was_refused):
    """The faults of a state right after a disturbed import: each store has to be as before or as at the end. An import
    that reports a failure must not have written all stores.
    """
    def parts(state):
        return [({place: value for place, value in state.values.items() if place[0].startswith("hkcu") == is_user},
                 {key for key in state.keys if key.startswith("hkcu") == is_user}) for is_user in (True, False)]

    faults = []
    stores = list(zip(STORES, parts(now), parts(before), parts(end)))
    for name, found, old, new in stores:
        if found not in (old, new):
            faults.append(f"partial import in {name}: {found}")
    if was_refused and not any(found == old for _, found, old, _ in stores):
        faults.append("the import was refused, but wrote all stores")
    return faults


def judge_completed(now, before, end, optional=()):
    """The faults of a state after an undisturbed start: it has to equal the end except for what is optional.
    """
    faults = list(now.faults)
    for name in sorted(now.files.keys() | end.files.keys()):
        found, wanted = now.files.get(name, "absent"), end.files.get(name, "absent")
        if found == wanted or name in (*STORES, *MAY_APPEAR, LOG):
            continue
        if found == "absent" and name in optional:
            continue
        faults.append(f"not removed: {name}" if wanted == "absent" else f"at the end {name} is {found}, not {wanted}")
    for place in sorted(before.values.keys() | now.values.keys() | end.values.keys()):
        wanted = [end.values.get(place)]
        if place == CHECKED_ON:
            wanted += [None, (1, "now"), before.values.get(place)]
        if now.values.get(place) not in wanted:
            faults.append(f"at the end value {place[1]!r} is {now.values.get(place)}, not {wanted[0]}")
    if now.keys != end.keys:
        faults.append(f"keys differ at the end: {sorted(now.keys ^ end.keys)}")
    return faults
