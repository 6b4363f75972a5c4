#!/usr/bin/env python3
"""Agreement of the program's file structure with independent tools, over a folder of real files.

Usage: structure.py ORVANE-CLI [--details]        ($ORVANE_FIXTURES names the folder)

Prints one row per kind of fact: files compared, facts, facts that agree, and with --details every one that
does not. The other readers are exiv2 (segments of JPEG, chunks of PNG, boxes of JPEG 2000, entries of TIFF
directories), webpinfo (chunks of WebP), heif-info (boxes of HEIF and AVIF) and djpeg (quantization tables,
scans). A tool that is not installed leaves its row out.
"""
import collections
import os
import re
import shutil
import subprocess
import sys


def run(*command):
    done = subprocess.run(command, capture_output=True, timeout=60, check=False)
    return done.stdout.decode("utf-8", "replace") + done.stderr.decode("utf-8", "replace")


class Program:
    """The program under test: one table of a filter as a list of rows."""

    def __init__(self, path):
        self.path = path
        self.seen = {}

    def rows(self, file, filter_id, *settings):
        key = (file, filter_id)
        if key in self.seen:
            return self.seen[key]
        arguments = [part for setting in settings for part in ("-s", setting)]
        done = subprocess.run([self.path, "analyse", file, "-f", filter_id, *arguments], capture_output=True,
                              timeout=120, check=False)
        blocks = done.stdout.decode("utf-8", "replace").split("\n\n")
        table = [line.split("\t") for line in blocks[-1].rstrip("\n").split("\n")][1:] if len(blocks) > 1 else []
        self.seen[key] = table
        return table

    def parts(self, file):
        """(depth, name, offset, length, text) of every part."""
        result = []
        for row in self.rows(file, "file-structure", "depth=All"):
            if len(row) < 4:
                continue
            name = row[0].lstrip("'")
            depth = (len(name) - len(name.lstrip(" "))) // 3
            result.append((depth, name.strip(), int(row[1]), int(row[2]), row[3]))
        return result


def jpeg_segments(program, file):
    """exiv2 lists segments up to the first scan: address, code, length without the marker."""
    wanted = []
    for line in run("exiv2", "-pS", file).splitlines():
        found = re.match(r"\s*(\d+) \| 0xff(..) (\S+)\s*(?:\|\s*(\d+))?", line)
        if found:
            wanted.append((int(found[1]), found[3], int(found[4]) + 2 if found[4] else None))
    have = {(offset, name, length) for depth, name, offset, length, _ in program.parts(file) if depth == 0}
    # Fill bytes belong to the segment here; the other reader skips them.
    ends = {(offset + length, name) for offset, name, length in have}
    starts = {(offset, name) for offset, name, _ in have}
    # The scan's header is told without its length.
    return [(item, item[:2] in starts if item[2] is None else
             item in have or (item[0] + item[2], item[1]) in ends) for item in wanted]


def png_chunks(program, file):
    wanted = []
    for line in run("exiv2", "-pS", file).splitlines():
        found = re.match(r"\s*(\d+) \| (....)\s+\|\s*(\d+) \|", line)
        if found:
            wanted.append((int(found[1]), found[2], int(found[3]) + 12))
    have = {(offset, name, length) for depth, name, offset, length, _ in program.parts(file) if depth == 0}
    return [(item, item in have) for item in wanted]


def jp2_boxes(program, file):
    wanted = []
    for line in run("exiv2", "-pS", file).splitlines():
        found = re.match(r"\s*(\d+) \|\s*(\d+) \|\s+(?:sub:)?(....) \|", line)
        if found:
            wanted.append((int(found[1]), found[3].strip(), int(found[2])))
    have = {(offset, name.strip(), length) for _, name, offset, length, _ in program.parts(file)}
    return [(item, item in have) for item in wanted]


TYPES = {"SHORT", "LONG", "RATIONAL", "ASCII", "UNDEFINED", "BYTE", "SRATIONAL", "SLONG", "SSHORT"}


def tiff_entries(program, file):
    """Number, type and count of every entry; addresses count from the TIFF header, of which there may be several."""
    text = run("exiv2", "-pR", file)
    wanted = collections.Counter()
    skip = None
    for line in text.splitlines():
        column = line.find("|")  # grows with the depth, whatever the addresses
        if skip is not None and (column < 0 or column > skip):
            continue
        skip = None
        found = re.match(r"\s*\d+ \| 0x([0-9a-f]{4}) (\S+)\s*\|\s*(\S+) \|\s*(\d+) \|", line)
        if found and found[3] in TYPES:
            wanted[(found[1].upper(), found[3], int(found[4]))] += 1
        # A maker's note is opened by the other reader, and left closed here.
        if found and found[2] == "MakerNote":
            skip = column
    have = collections.Counter()
    for _, _, _, _, words in program.parts(file):
        found = re.match(r"0x([0-9A-F]{4}) (\w+)(?: x (\d+))?", words)
        if found:
            have[(found[1], found[2], int(found[3] or 1))] += 1
    return [(item, have[item] >= count) for item, count in wanted.items()]


def webp_chunks(program, file):
    wanted = [(int(found[2]), found[1], int(found[3])) for found in
              re.finditer(r"Chunk (....) at offset\s+(\d+), length\s+(\d+)", run("webpinfo", file))]
    have = {(offset, name.ljust(4), length) for _, name, offset, length, _ in program.parts(file)}
    return [(item, item in have or (item[0], item[1], item[2] + item[2] % 2) in have) for item in wanted]


def heif_boxes(program, file):
    """Sequence of types and sizes, boxes inside boxes included."""
    text = run("heif-info", "-d", file)
    wanted = re.findall(r"Box: (....) -----\n[| ]*size: (\d+)", text)
    have = collections.Counter((name.ljust(4), length) for _, name, _, length, _ in program.parts(file))
    return [((name, int(size)), have[(name, int(size))] >= count)
            for (name, size), count in collections.Counter(wanted).items() if int(size) > 0]


def djpeg_tables(program, file):
    text = run("djpeg", "-verbose", "-verbose", "-outfile", "/dev/null", file)
    wanted = []
    for found in re.finditer(r"Define Quantization Table (\d)  precision \d\n((?:\s+[\d ]+\n){8})", text):
        wanted.append((int(found[1]), [int(value) for value in found[2].split()]))
    done = subprocess.run([program.path, "analyse", file, "-f", "quantization-tables"], capture_output=True,
                          timeout=120, check=False).stdout.decode("utf-8", "replace")
    have = [(int(found[1]), [int(value) for value in found[2].split()])
            for found in re.finditer(r"Table (\d): ([\d ]+)", done)]
    return [(item, item in have) for item in wanted]


def jpeg_scans(program, file):
    text = run("djpeg", "-verbose", "-verbose", "-outfile", "/dev/null", file)
    if "Premature end" in text or "Corrupt JPEG" in text or "Unsupported" in text:
        return []
    wanted = len(re.findall(r"^Start Of Scan", text, re.M))
    names = [name for depth, name, _, _, _ in program.parts(file) if depth == 0]
    return [(("scans", wanted), names.count("entropy-coded data") == wanted)] if wanted else []


CHECKS = [
    ("JPEG: segments up to the first scan", "exiv2", jpeg_segments, (b"\xff\xd8\xff",)),
    ("JPEG: number of scans", "djpeg", jpeg_scans, (b"\xff\xd8\xff",)),
    ("JPEG: quantization tables", "djpeg", djpeg_tables, (b"\xff\xd8\xff",)),
    ("TIFF and EXIF: entries of directories", "exiv2", tiff_entries, (b"\xff\xd8\xff", b"II*\0", b"MM\0*")),
    ("PNG: chunks", "exiv2", png_chunks, (b"\x89PNG",)),
    ("JPEG 2000: boxes", "exiv2", jp2_boxes, (b"\0\0\0\x0cjP  ",)),
    ("WebP: chunks", "webpinfo", webp_chunks, (b"RIFF",)),
    ("HEIF and AVIF: boxes", "heif-info", heif_boxes, (b"ftyp",)),
]


def begins(file, starts):
    with open(file, "rb") as stream:
        head = stream.read(16)
    return any(head.startswith(start) or head[4:8] == start for start in starts)


def main():
    folder = os.environ.get("ORVANE_FIXTURES")
    if not folder or len(sys.argv) < 2:
        sys.exit(__doc__)
    program = Program(sys.argv[1])
    files = sorted(os.path.join(place, name) for place, _, names in os.walk(folder) for name in names
                   if not name.endswith((".txt", ".md", ".json", ".tsv", ".c", ".pem")))
    print("| Fact | Other reader | Files | Facts | Agree |\n|---|---|---|---|---|")
    differences = []
    for title, tool, check, starts in CHECKS:
        if shutil.which(tool) is None:
            continue
        count = total = agree = 0
        for file in files:
            if not begins(file, starts):
                continue
            facts = check(program, file)
            if facts:
                count += 1
            total += len(facts)
            agree += sum(1 for _, right in facts if right)
            differences += [(title, os.path.relpath(file, folder), fact) for fact, right in facts if not right]
        print(f"| {title} | {tool} | {count} | {total} | {agree} |", flush=True)
    if "--details" in sys.argv:
        for title, file, fact in differences:
            print(f"{title}: {file}: {fact}")


if __name__ == "__main__":
    main()
