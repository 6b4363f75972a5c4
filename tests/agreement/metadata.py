#!/usr/bin/env python3
"""Agreement of the program's metadata with an independent reader, over a folder of real files.

Usage: metadata.py ORVANE-CLI [--details]        ($ORVANE_FIXTURES names the folder)

Prints one row per kind of fact: files compared, facts, facts that agree, and with --details every one that
does not. The other reader is exiftool: values of EXIF, GPS, IPTC, XMP and ICC by number or name, and the
offsets of EXIF values that it shows in its dump.
"""
import json
import os
import re
import shutil
import subprocess
import sys

GROUPS = {"IFD0": "EXIF Image", "IFD1": "EXIF Thumbnail", "ExifIFD": "EXIF Photo", "InteropIFD": "EXIF Iop", "GPS": "GPS"}
# What the other reader computes from the stored value, also where numbers are asked for.
COMPUTED = {0x9201: lambda v: 2 ** -v, 0x9202: lambda v: 2 ** (v / 2), 0x9205: lambda v: 2 ** (v / 2)}
COMPUTED_IN_XMP = {"ShutterSpeedValue": 0x9201, "ApertureValue": 0x9202, "MaxApertureValue": 0x9205}
# Blocks and pointers that the other reader opens, and texts whose character set each reads its own way.
LEFT_OUT = {0x927C, 0x8769, 0x8825, 0xA005, 0x02BC, 0x83BB, 0x8649, 0x8773, 0x014A, 0xC4A5, 0x9286, 0xEA1C,
            0x9C9B, 0x9C9C, 0x9C9D, 0x9C9E, 0x9C9F, 0x001B, 0x001C, 0x0201, 0x0111, 0xA40B}
ICC_NAMES = {"ProfileCMMType": "Preferred Module", "ColorSpaceData": "Colour Space", "DeviceManufacturer": "Device Maker Code",
             "ProfileConnectionSpace": "Connection Space", "ProfileDateTime": "Made", "RenderingIntent": "Rendering Intent",
             "ProfileCreator": "Creator", "ProfileDescription": "Description", "RedMatrixColumn": "Red Primary",
             "GreenMatrixColumn": "Green Primary", "BlueMatrixColumn": "Blue Primary", "MediaWhitePoint": "White Point"}


def run(*command):
    return subprocess.run(command, capture_output=True, timeout=120, check=False).stdout.decode("utf-8", "replace")


def unescape(cell):
    cell = re.sub(r"\\([tnr\\])", lambda m: {"t": "\t", "n": "\n", "r": "\r", "\\": "\\"}[m[1]], cell)
    return cell[1:] if cell[:1] == "'" else cell


def table(program, file):
    """Rows {Group, Name, Tag, Value, As Stored, Offset} of the program under test."""
    blocks = run(program, "analyse", file, "-f", "metadata").split("\n\n")
    lines = blocks[-1].rstrip("\n").split("\n")
    labels = lines[0].split("\t")
    if "As Stored" not in labels:
        return []
    return [dict(zip(labels, map(unescape, line.split("\t")))) for line in lines[1:]]


def numbers(text):
    """The numbers of a stored value, fractions worked out; None where it is none."""
    found = []
    for part in str(text).split():
        if part == "undef":
            found.append(None)
            continue
        match = re.fullmatch(r"(-?[\d.]+(?:e[-+]?\d+)?)(?:/(-?[\d.]+))?", part)
        if match is None:
            return None
        try:
            below = float(match[2]) if match[2] else 1.0
            found.append(float(match[1]) / below if below else None)
        except ValueError:
            return None
    return found or None


def same_numbers(a, b):
    return len(a) == len(b) and all((x is None or y is None) or abs(x - y) <= 1e-4 * max(1, abs(x)) for x, y in zip(a, b))


def plain(text):
    text = re.sub(r'^lang="[^"]*" ', "", str(text))
    text = re.sub(r"^(\d{4})-(\d\d)(?:-(\d\d))?", lambda m: ":".join(part for part in m.groups() if part), text).replace("T", " ")
    text = re.sub(r"[\x00-\x1f\x7f-\x9f\ufffd]", "", text)
    return re.sub(r"\s+", "", text).lower()


def agrees(tag, wanted, row):
    stored, shown = row["As Stored"], row["Value"]
    if plain(wanted) in (plain(stored), plain(shown)):
        return True
    have, want = numbers(stored), numbers(wanted)
    if want is None and str(wanted) in ("inf", "-inf") and have is not None and None in have:
        return True
    if have is not None and all(x is not None and 0 <= x < 256 for x in have):
        # Bytes that the other reader shows as text.
        if plain(bytes(int(x) for x in have).decode("latin-1")) == plain(wanted):
            return True
        if "".join("%02x" % int(x) for x in have) == str(wanted).lower():
            return True
        if len(have) == 3 and str(wanted).startswith("%02d:%02d:%02d" % tuple(int(x) for x in have)):
            return True
    degrees = re.fullmatch(r"(\d+),([\d.]+)([NSEW])", stored)
    if degrees and want is not None:
        # As XMP writes a position: degrees and minutes.
        have = [(float(degrees[1]) + float(degrees[2]) / 60) * (-1 if degrees[3] in "SW" else 1)]
    if have is None or want is None:
        return False
    if same_numbers(have, want):
        return True
    if tag in COMPUTED and have[0] is not None:
        return abs(COMPUTED[tag](have[0]) - want[0]) < 1e-3 * max(1, abs(want[0]))
    if len(have) == 3 and len(want) == 1 and None not in have:
        return abs(have[0] + have[1] / 60 + have[2] / 3600 - want[0]) < 1e-4
    if len(have) == 3 and len(want) == 1:
        return True  # no denominator: nothing that could be compared
    return False


def exiftool(file, *options):
    text = run("exiftool", "-a", "-G1", "-s", "-n", "-j", *options, file)
    try:
        return list(json.JSONDecoder(object_pairs_hook=lambda pairs: pairs).decode(text)[0])
    except (ValueError, IndexError):
        return []


def fields(file):
    """(group, name, id, value); doublets are kept."""
    found = []
    for name, value in exiftool(file, "-D"):
        group, _, short = name.partition(":")
        content = dict(value) if isinstance(value, list) and value and isinstance(value[0], (list, tuple)) else {}
        found.append((group, short, content.get("id"), content.get("val", value)))
    return found


def is_binary(value):
    return isinstance(value, str) and value.startswith("(Binary data")


def exif(rows, file):
    have = {}
    for row in rows:
        if row["Tag"].startswith("0x"):
            have.setdefault((row["Group"], int(row["Tag"], 16)), []).append(row)
    facts = []
    for group, name, number, value in fields(file):
        if group not in GROUPS or not isinstance(number, int) or number in LEFT_OUT or is_binary(value):
            continue
        candidates = have.get((GROUPS[group], number), [])
        facts.append(((group, name, value), any(agrees(number, value, row) for row in candidates)))
    return facts


def offsets(rows, file):
    have = {}
    for row in rows:
        if row["Tag"].startswith("0x") and row["Offset"]:
            have.setdefault((row["Group"], int(row["Tag"], 16)), set()).add(int(row["Offset"]))
    facts = []
    folders = {}  # by depth
    lines = [re.sub(r"^  ", "", line) for line in run("exiftool", "-v3", file).split("\n")]
    for i, line in enumerate(lines[:-1]):
        folder = re.match(r"((?:[|] )*) *[+] \[(\w+) directory", line)
        if folder:
            folders[folder[1].count("|") + 1] = folder[2]
        tag = re.match(r"((?:[|] )*) *- Tag 0x([0-9a-f]{4}) \((\d+) bytes, ", line)
        place = re.match(r"[| ]*([0-9a-f]{4,8}): ", lines[i + 1])
        if not tag or not place:
            continue
        key = (GROUPS.get(folders.get(tag[1].count("|"))), int(tag[2], 16))
        if key in have:
            facts.append(((key, int(place[1], 16)), int(place[1], 16) in have[key]))
    return facts


def iptc(rows, file):
    have = [row for row in rows if row["Group"] == "IPTC Application2"]
    facts = []
    for group, name, number, value in fields(file):
        if group != "IPTC" or not isinstance(number, int) or name in ("CodedCharacterSet", "EnvelopeRecordVersion") or is_binary(value):
            continue
        for one in value if isinstance(value, list) else [value]:
            digits = re.sub(r"\D", "", str(one))
            facts.append(((name, one), any(row["Tag"] == f"2:{number}" and
                                           (agrees(number, one, row) or (digits and digits == re.sub(r"\D", "", row["As Stored"])))
                                           for row in have)))
    return facts


def xmp(rows, file):
    have = {}
    for row in rows:
        if row["Group"].startswith("XMP"):
            have.setdefault(row["Tag"].lower(), []).append(row)
    facts = []
    for group, name, _, value in fields(file):
        key = group[4:].lower() + ":" + name.lower()
        # Parts of structures are named otherwise; what the other reader computes has no stored counterpart.
        if not group.startswith("XMP-") or key not in have or isinstance(value, list) or is_binary(value):
            continue
        facts.append(((group, name, value), any(agrees(COMPUTED_IN_XMP.get(name, 0), value, row) for row in have[key])))
    return facts


def icc(rows, file):
    have = {row["Name"]: row for row in rows if row["Group"].startswith("ICC")}
    facts = []
    for group, name, _, value in fields(file):
        if not group.startswith("ICC") or name not in ICC_NAMES or is_binary(value):
            continue
        row = have.get(ICC_NAMES[name])
        right = row is not None and (agrees(0, value, row) or plain(row["As Stored"]) == plain(value) or
                                     (value in (0, "0", "") and row["Value"] == "None"))
        facts.append(((name, value), right))
    return facts


def main():
    folder = os.environ.get("ORVANE_FIXTURES")
    if not folder or len(sys.argv) < 2 or shutil.which("exiftool") is None:
        sys.exit(__doc__)
    starts = (b"\xff\xd8\xff", b"II*\0", b"MM\0*", b"\x89PNG", b"RIFF", b"ftyp", b"8BPS")
    checks = [("EXIF and GPS: values", exif), ("EXIF and GPS: offsets of values", offsets), ("IPTC: values", iptc),
              ("XMP: simple properties", xmp), ("ICC: header, texts, primaries", icc)]
    counts = {title: [0, 0, 0] for title, _ in checks}
    differences = []
    for place, _, names in sorted(os.walk(folder)):
        for name in sorted(names):
            file = os.path.join(place, name)
            with open(file, "rb") as stream:
                head = stream.read(16)
            if not any(head.startswith(start) or head[4:8] == start for start in starts):
                continue
            rows = table(sys.argv[1], file)
            for title, check in checks:
                facts = check(rows, file) if rows else []
                counts[title][0] += 1 if facts else 0
                counts[title][1] += len(facts)
                counts[title][2] += sum(1 for _, right in facts if right)
                differences += [(title, os.path.relpath(file, folder), fact) for fact, right in facts if not right]
    print("| Fact | Other reader | Files | Facts | Agree |\n|---|---|---|---|---|")
    for title, (files, total, right) in counts.items():
        print(f"| {title} | exiftool | {files} | {total} | {right} |")
    if "--details" in sys.argv:
        for title, file, fact in differences:
            print(f"{title}: {file}: {str(fact)[:200]}")


if __name__ == "__main__":
    main()
