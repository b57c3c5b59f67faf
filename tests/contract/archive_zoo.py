#!/usr/bin/env python3
"""Writes archives that a careless unpacker would regret: archive_zoo.py FOLDER OUTSIDE
or one archive of the given entries: archive_zoo.py --pack FILE [NAME DATA MODE FLAGS]...

One file per archive, and zoo.tsv: file, the reason why it has to be refused (a number of UnzipResult, or "any"), and a part
of the message. In place of a reason, "good" means that it has to unpack to one file "file.txt" that says "contents", and
"harmless" that nothing but plain files may come of it, and only in the target; as many as the third column says, if it
does. OUTSIDE is an absolute path that nothing may be written to. Each archive is built byte by byte
where it has to lie, from what the ZIP application note says.
"""
import io
import os
import struct
import subprocess
import sys
import zipfile
import zlib

rows = []
CONTENTS = b"contents"
REASONS = """kDone kCannotOpen kNotAnArchive kBadName kNotAFile kSameName kInTheWay kTooManyEntries kTooLarge kEncrypted
kUnknownMethod kWrongChecksum kWrongSize kDamaged""".split()  # UnzipResult


def add(name, data, reason, said=""):
    with open(os.path.join(folder, name + ".zip"), "wb") as file:
        file.write(data)
    number = REASONS.index(reason) if reason in REASONS else reason
    rows.append(f"{name}.zip\t{number}\t{said}\n")


def entry(name, data=b"", mode=0o100644, flags=0x800, method=0, packed=None, crc=None, size=None, packed_size=None,
          local_name=None, local_size=None, extra=b"", local_extra=b"", offset=None, disk=0):
    name = name.encode() if isinstance(name, str) else name
    packed = data if packed is None else packed
    return {
        "name": name, "local_name": name if local_name is None else local_name, "packed": packed, "mode": mode,
        "flags": flags, "method": method, "crc": zlib.crc32(data) if crc is None else crc,
        "size": len(data) if size is None else size, "packed_size": len(packed) if packed_size is None else packed_size,
        "local_size": local_size, "extra": extra, "local_extra": local_extra, "offset": offset, "disk": disk}


def pack(*entries, count=None, directory_offset=0, directory_size=0, comment=b"", comment_length=None, prefix=b"", end64=False):
    files, directory, at = [prefix], [], len(prefix)
    for e in entries:
        local_size = e["size"] if e["local_size"] is None else e["local_size"]
        common = struct.pack("<HHHII", 20, e["flags"], e["method"], 0x58210000, e["crc"])
        offset = at if e["offset"] is None else e["offset"]
        if e["offset"] is None:
            local = (b"PK\3\4" + common + struct.pack("<IIHH", e["packed_size"], local_size, len(e["local_name"]),
                                                      len(e["local_extra"])) + e["local_name"] + e["local_extra"]
                     + e["packed"])
            files.append(local)
            at += len(local)
        directory.append(b"PK\1\2" + struct.pack("<H", 0x0314) + common
                         + struct.pack("<IIHHHHHII", e["packed_size"], e["size"], len(e["name"]), len(e["extra"]), 0, e["disk"], 0,
                                       e["mode"] << 16, offset) + e["name"] + e["extra"])
    contents = b"".join(directory)
    count = len(entries) if count is None else count
    tail64 = b""
    if end64 or count > 65535:
        tail64 = (b"PK\6\6" + struct.pack("<QHHIIQQQQ", 44, 45, 45, 0, 0, count, count, len(contents), at)
                 + b"PK\6\7" + struct.pack("<IQI", 0, at + len(contents), 1))
    end = struct.pack("<HHHHIIH", 0, 0, min(count, 65535), min(count, 65535), len(contents) + directory_size,
                      at + directory_offset, len(comment) if comment_length is None else comment_length)
    return b"".join(files) + contents + tail64 + b"PK\5\6" + end + comment


def deflated(data, level=9):
    packer = zlib.compressobj(level, zlib.DEFLATED, -15)
    return packer.compress(data) + packer.flush()


def zip64(size, packed_size):
    return struct.pack("<HHQQ", 1, 16, size, packed_size)


def utf8_name(name, of):
    return struct.pack("<HHBI", 0x7075, 5 + len(name), 1, zlib.crc32(of.encode())) + name.encode()


if sys.argv[1] == "--pack":
    words = [os.fsencode(word) for word in sys.argv[3:]]
    with open(sys.argv[2], "wb") as file:
        file.write(pack(*(entry(*words[i:i + 2], int(words[i + 2]), int(words[i + 3])) for i in range(0, len(words), 4))))
    sys.exit()
folder, outside = sys.argv[1:]
FIRST = entry("first.txt", b"1")  # what a careless unpacker would have written before it saw the rest

# ---- Names that leave the target, or that some system takes for something else

BAD_NAMES = {
    "parent": "../x", "parent-deeper": "a/../../x", "parent-backslash": "..\\x", "parent-mixed": "a\\../..\\x",
    "parent-folder": "../y/", "parent-end": "a/..", "parent-alone": "..", "dot-parent": "./../x",
    "sibling-prefix": "../target-too/x", "absolute": outside + "/x", "absolute-etc": "/etc/tsly-zoo",
    "absolute-backslash": "\\x", "drive": "C:\\x", "drive-slash": "C:/x", "drive-relative": "c:x", "unc": "\\\\server\\share\\x",
    "unc-slash": "//server/share/x", "device-path": "\\\\?\\C:\\x", "stream": "a.txt:hidden", "colon-in-folder": "a:b/x",
    "device-nul": "nul", "device-con": "sub/CON", "device-aux": "aux.txt", "device-com": "Com1 .log", "device-lpt": "lpt9.x.y",
    "device-superscript": "COM\u00b2", "trailing-dot": "x.", "trailing-blank": "x ", "folder-trailing-dot": "a./x",
    "dots": ".../x", "line-break": "a\nb", "control": "a\x01b", "delete": "a\x7fb", "empty-name": "", "dot": ".",
    "deep": "d/" * 101 + "x", "long": "n" * 5000,
}
for label, bad in BAD_NAMES.items():
    add("name-" + label, pack(FIRST, entry(bad, b"2")), "kBadName", "")
for label, local in {"": utf8_name("../x", "x"), "-of-the-table": b""}.items():
    add("name-of-unicode-field" + label, pack(FIRST, entry("x", b"2", flags=0, extra=utf8_name("../x", "x"), local_extra=local)),
        "kBadName", "../x")
add("name-with-nul", pack(FIRST, entry("x\0/../../y", b"2")), "kBadName")
add("name-with-nul-first", pack(FIRST, entry("\0x", b"2")), "kBadName")
add("name-other-locally", pack(FIRST, entry("x", b"2", local_name=b"../../y")), "any")

# ---- What is no file or folder

for label, mode in {"symbolic": 0o120777, "block": 0o060644, "character": 0o020644,
                    "socket": 0o140644}.items():
    add("kind-" + label, pack(FIRST, entry("x", b"/etc", mode=mode)), "kNotAFile", '"x"')
add("kind-pipe", pack(FIRST, entry("x", b"2", mode=0o010644)), "harmless")
add("kind-link-and-through-it", pack(entry("x", outside.encode(), mode=0o120777), entry("x/y", b"2")), "kNotAFile", '"x"')
add("kind-link-to-parent", pack(entry("x", b"..", mode=0o120777), entry("x/y", b"2")), "kNotAFile", '"x"')
add("kind-folder-with-contents", pack(FIRST, entry("x/", b"2", mode=0o040755)), "kWrongSize", '"x/"')

# ---- Names that can't stand together, in the archive or on the user's disk

TOGETHER = {
    "twice": ("kSameName", "x", "x"), "twice-by-dot": ("kSameName", "x", "./x"), "twice-by-slash": ("kSameName", "a/x", "a//x"),
    "twice-by-backslash": ("kSameName", "a/x", "a\\x"), "capitals": ("kSameName", "x", "X"),
    "capitals-of-folder": ("kSameName", "a/x", "A/y"), "capitals-beyond-ascii": ("kSameName", "\u00e9", "\u00c9"),
    "file-then-folder": ("kInTheWay", "x", "x/y"), "folder-then-file": ("kInTheWay", "x/y", "x"),
    "folder-then-file-in-capitals": ("kInTheWay", "x/y", "X"),
}
for label, (reason, one, other) in TOGETHER.items():
    said = other.replace("\\", "/")
    add("names-" + label, pack(entry(one, b"1"), entry(other, b"2")), reason, f'{said}"')
add("users-folder-in-the-way", pack(FIRST, entry("taken", b"2")), "kInTheWay", '"taken"')
add("users-file-in-the-way", pack(FIRST, entry("old/x", b"2")), "kInTheWay", '"old/x"')
add("users-link-in-the-way", pack(FIRST, entry("out/y", b"2")), "kInTheWay", '"out/y"')
add("users-files-then-one-in-the-way", pack(entry("old", b"1"), entry("new/x", b"2"), entry("out/y", b"3")), "kInTheWay",
    '"out/y"')

# ---- Bombs

MEGABYTE = deflated(bytes(1 << 20))
add("bomb-by-declared-size", pack(FIRST, entry("x", b"2", size=(1 << 31) - 1)), "kTooLarge", '"x"')
add("bomb-by-declared-size-of-64-bits", pack(FIRST, entry("x", b"2", size=0xFFFFFFFF, packed_size=0xFFFFFFFF, extra=zip64(
    (1 << 63) - 1, 1), local_extra=zip64((1 << 63) - 1, 1))), "any")
add("bomb-by-ratio", pack(FIRST, entry("x", bytes(70 << 20), method=8, packed=MEGABYTE[:900])), "any")
one = entry("0", bytes(1 << 20), method=8, packed=MEGABYTE)
add("bomb-by-overlap", pack(one, *(dict(one, name=b"%d" % i, offset=0) for i in range(1, 100))), "kDamaged")
add("bomb-by-count", pack(*(entry(b"%d" % i) for i in range(200_001))), "kTooManyEntries", "bomb-by-count.zip")

# ---- Lies and damage

TEXT = b"some text that is packed " * 40
add("wrong-checksum", pack(FIRST, entry("x", b"2", crc=1)), "kWrongChecksum", '"x"')
add("wrong-checksum-deflated", pack(FIRST, entry("x", TEXT, method=8, packed=deflated(TEXT), crc=1)), "kWrongChecksum", '"x"')
add("size-too-small", pack(FIRST, entry("x", TEXT, method=8, packed=deflated(TEXT), size=10)), "any", '"x"')
add("size-too-large", pack(FIRST, entry("x", TEXT, method=8, packed=deflated(TEXT), size=len(TEXT) + 1)), "any", '"x"')
add("size-other-locally", pack(FIRST, entry("x", b"22", local_size=1)), "any")
add("packed-beyond-the-end", pack(FIRST, entry("x", b"2", size=5000, packed_size=5000)), "any")
add("offset-beyond-the-end", pack(FIRST, entry("x", b"2", offset=1 << 30)), "any")
add("offset-into-another", pack(FIRST, entry("x", b"2", offset=7)), "any")
add("directory-elsewhere", pack(FIRST, directory_offset=1 << 20), "any")
add("directory-too-long", pack(FIRST, directory_size=1 << 20), "any")
add("directory-missing", pack(count=1), "any")
add("comment-too-long", pack(FIRST, comment=b"c", comment_length=60000), "kDamaged", "comment-too-long.zip")
X = entry("x", b"2")
END = b"PK\5\6" + bytes(18)
RECORD = 46 + len(FIRST["name"])  # of the first file in the directory
two = pack(FIRST, X)
STREAMED = entry("a", b"2" + struct.pack("<III", zlib.crc32(b"2"), 1, 1), flags=0x808, crc=0, size=0, packed_size=0)
END_64 = pack(entry("file.txt", CONTENTS), end64=True)
LIES = {
    "end-counts-none": pack(FIRST, count=0), "end-counts-one-less": pack(FIRST, X, count=1),
    "end-counts-one-more": pack(FIRST, count=2), "end-hides-all": pack(FIRST, count=0, directory_size=-RECORD,
                                                                       directory_offset=RECORD),
    "end-hides-the-first": pack(FIRST, X, count=1, directory_size=-RECORD, directory_offset=RECORD),
    "end-of-nothing-in-comment": pack(FIRST, comment=END), "archive-in-comment": pack(FIRST, comment=pack(X)),
    "end-twice": pack(FIRST) + END, "bytes-after-the-end": two + b"\0", "one-place-twice": pack(FIRST, dict(X, offset=0)),
    "locator-off-the-file": two[:-22] + b"PK\6\7" + struct.pack("<IQI", 0, 1 << 40, 1) + two[-22:],
    "end-64-hides-all": two[:-22] + b"PK\6\6" + struct.pack("<QHHIIQQQQ", 44, 45, 45, 0, 0, 0, 0, 0, len(two) - 22)
                        + b"PK\6\7" + struct.pack("<IQI", 0, len(two) - 22, 1) + two[-22:],
    "not-in-the-table": pack(FIRST, entry("y", b"3") | {"packed": b"3" + two[:40]}, X),
    "method-other-locally": pack(FIRST).replace(struct.pack("<HHH", 20, 0x800, 0), struct.pack("<HHH", 20, 0x800, 8), 1),
    "checksum-other-locally": pack(FIRST).replace(struct.pack("<I", FIRST["crc"]), b"\1\2\3\4", 1),
    "unicode-name-locally": pack(entry("a", b"2", flags=0, local_extra=utf8_name("b", "a"))),
    "unicode-name-other-locally": pack(entry("a", b"2", flags=0, extra=utf8_name("b", "a"), local_extra=utf8_name("c", "a"))),
    "disk-of-64-bits-is-another": pack(entry("a", b"2", disk=0xFFFF, extra=struct.pack("<HHI", 1, 4, 1))),
    "end-64-is-on-another-disk": END_64.replace(b"PK\5\6" + bytes(4), b"PK\5\6\1\0\1\0"),
    "entry-after-a-program": pack(X, prefix=b"MZ" + bytes(10) + pack(FIRST | {"local_extra": b"bad"})[:43]),
    "streamed-entry-after-a-program": pack(X, prefix=b"MZ" + bytes(10) + pack(STREAMED)[:44]),
    "sizes-that-do-not-follow": pack(entry("a", b"2", flags=0x808, local_size=0), X),
}
for label, data in LIES.items():
    add("lie-" + label, data, "kDamaged")
add("extra-too-long", pack(FIRST, entry("x", b"2", extra=struct.pack("<HH", 1, 60000))), "any")
add("extra-of-64-bits-cut", pack(FIRST, entry("x", b"2", size=0xFFFFFFFF, extra=struct.pack("<HHI", 1, 4, 1))), "any")
good = pack(entry("file.txt", TEXT, method=8, packed=deflated(TEXT)))
add("cut-in-the-data", good[:60], "kNotAnArchive")
add("cut-in-the-directory", good[:-40], "kNotAnArchive")
add("cut-in-the-end", good[:-3], "kNotAnArchive")
add("garbage-in-the-data", pack(FIRST, entry("x", TEXT, method=8, packed=b"\xff" * 50)), "any", '"x"')
add("password", pack(FIRST, entry("x", b"2", flags=0x801)), "kEncrypted", '"x"')
add("password-strong", pack(FIRST, entry("x", b"2", flags=0x841)), "kEncrypted", '"x"')
add("password-aes", pack(FIRST, entry("x", b"2", flags=0x801, method=99, extra=struct.pack("<HHHHBH", 0x9901, 7, 2, 0x4541,
                                                                                         3, 0))), "kEncrypted", '"x"')
for label, method in {"77": 77, "shrunk": 1, "reduced": 2, "imploded": 6, "deflate-64": 9}.items():
    add("method-" + label, pack(FIRST, entry("x", b"2", method=method)), "kUnknownMethod", '"x"')
for label, data in {"empty": b"", "text": b"no archive at all\n" * 100, "gzip": b"\x1f\x8b\x08" + bytes(60), "tar": bytes(257)
                    + b"ustar\x0000" + bytes(2000), "7z": b"7z\xbc\xaf\x27\x1c" + bytes(60), "zeros": bytes(70000)}.items():
    add("no-zip-" + label, data, "kNotAnArchive", label + ".zip")

# ---- Good ones, which have to unpack

for label, method in {"stored": zipfile.ZIP_STORED, "deflate": zipfile.ZIP_DEFLATED, "bzip2": zipfile.ZIP_BZIP2,
                      "lzma": zipfile.ZIP_LZMA}.items():
    archive = io.BytesIO()
    with zipfile.ZipFile(archive, "w", method) as writer:
        writer.writestr("file.txt", CONTENTS)
    add("good-" + label, archive.getvalue(), "good")
archive = io.BytesIO()
with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as writer:
    with writer.open("file.txt", "w", force_zip64=True) as file:
        file.write(CONTENTS)
add("good-64-bits", archive.getvalue(), "good")
plain = entry("file.txt", CONTENTS)
add("good-after-a-program", pack(plain, prefix=b"MZ" + bytes(500)), "good")
add("good-after-a-program-that-is-not-counted", b"MZ" + bytes(500) + pack(plain), "good")
add("good-end-of-64-bits", END_64, "good")
add("good-end-of-64-bits-for-disks", END_64.replace(b"PK\5\6" + bytes(4), b"PK\5\6" + b"\xff" * 4), "good")
add("good-disk-of-64-bits", pack(entry("file.txt", CONTENTS, disk=0xFFFF, extra=struct.pack("<HHI", 1, 4, 0))), "good")
add("good-unicode-name-in-the-table", pack(entry("other", CONTENTS, flags=0, extra=utf8_name("file.txt", "other"))), "good")
add("good-unicode-name-of-another", pack(entry("file.txt", CONTENTS, flags=0, extra=utf8_name("other", "another"))), "good")
os.makedirs(os.path.join(folder, "in"))
with open(os.path.join(folder, "in", "file.txt"), "wb") as file:
    file.write(CONTENTS)
for label, options in {"plain": "-q", "64-bits": "-fz", "stored": "-0", "commented": "-z"}.items():
    for to in ("zip-" + label + ".zip", "-")[: 1 if options == "-fz" else 2]:  # to a pipe it leaves the end of 64 bits out
        made = subprocess.run(["zip", "-q", options, to, "file.txt"], cwd=os.path.join(folder, "in"), check=True,
                              input=b"a comment\n.\n", stdout=subprocess.PIPE).stdout
        if to != "-":
            made = open(os.path.join(folder, "in", to), "rb").read()
        add("good-zip-tool-" + label + ("-streamed" if to == "-" else ""), made, "good")
add("good-with-comment", pack(plain, comment=b"made by hand"), "good")
archive = io.BytesIO()
with zipfile.ZipFile(archive, "w", zipfile.ZIP_BZIP2) as writer:
    writer.writestr("zeros", bytes(66 << 20))
add("fine-packed-better-than-by-deflate", archive.getvalue(), "harmless", "1")
add("fine-and-empty", pack(), "harmless", "0")
add("fine-and-empty-with-comment", pack(comment=b"nothing"), "harmless", "0")
add("good-set-user-id", pack(entry("file.txt", CONTENTS, mode=0o106755)), "good")
add("good-by-backslash", pack(entry(".\\file.txt", CONTENTS)), "good")

with open(os.path.join(folder, "zoo.tsv"), "w", encoding="utf-8") as table:
    table.writelines(rows)
