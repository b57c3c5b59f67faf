#!/usr/bin/env python3
"""Writes src/base/case_table.inc: Unicode's simple lower-case mappings as runs.

Each row is {first, last, step, distance}: `distance` is added to the code points first, first + step, ... last. Mappings
that change the number of UTF-8 bytes are left out, so that folding keeps all positions in a text.
"""
import pathlib
import unicodedata

pairs = []
for code in range(0x110000):
    lower = chr(code).lower()
    if len(lower) == 1 and ord(lower) != code and unicodedata.category(chr(code)) != "Cn":
        if len(chr(code).encode()) == len(lower.encode()):
            pairs.append((code, ord(lower) - code))

runs = []
for code, distance in pairs:
    if runs:
        first, last, step, run_distance = runs[-1]
        gap = code - last
        if run_distance == distance and gap <= 2 and step in (0, gap):
            runs[-1] = (first, code, gap, distance)
            continue
    runs.append((code, code, 0, distance))

rows = [f"{{0x{f:04X}, 0x{l:04X}, {s or 1}, {d}}}," for f, l, s, d in runs]
out = pathlib.Path(__file__).parent.parent / "src/base/case_table.inc"
text = f"// Written by scripts/make_case_table.py from Unicode {unicodedata.unidata_version}.\n"
for i in range(0, len(rows), 4):
    text += " ".join(rows[i : i + 4]) + "\n"
out.write_text(text)
print(len(pairs), "mappings in", len(rows), "runs")
