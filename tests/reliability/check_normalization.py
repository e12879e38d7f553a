"""All four forms against Unicode's own NormalizationTest.txt."""

import bz2
import ctypes
import pathlib
import re
import sys

from host import FORMS, Host, Texts, finish, skip

FOLDER = pathlib.Path("/usr/share/unicode")
# Of the columns c1 to c5, each of those on the left gives the one on the right: the head of the file.
RULES = {"NFC": [("123", 2), ("45", 4)], "NFD": [("123", 3), ("45", 5)],
         "NFKC": [("12345", 4)], "NFKD": [("12345", 5)]}


def read(name):
    if (FOLDER / name).exists():
        return (FOLDER / name).read_text("utf-8")
    if (FOLDER / f"{name}.bz2").exists():
        return bz2.decompress((FOLDER / f"{name}.bz2").read_bytes()).decode("utf-8")
    return skip(f"there is no {FOLDER}/{name}; the package unicode-data has it.")


def assigned(known):
    """The code points that Unicode has had since the version `known`, which is the library's."""
    points = set()
    for first, last, version in re.findall(r"^(\w+)(?:\.\.(\w+))? *; *([\d.]+)", read("DerivedAge.txt"), re.M):
        if tuple(map(int, version.split("."))) <= known:
            points.update(range(int(first, 16), int(last or first, 16) + 1))
    return points


def utf8proc_version(program):
    """The version of Unicode that the utf8proc knows which the host has loaded."""
    with Host(program) as host:
        host.ask("exists", "/")
        maps = pathlib.Path(f"/proc/{host.process.pid}/maps").read_text("utf-8")
    library = ctypes.CDLL(re.search(r"/\S*libutf8proc\S*", maps)[0])
    library.utf8proc_unicode_version.restype = ctypes.c_char_p
    return library.utf8proc_unicode_version().decode()


def main(program, version=None):
    version = version or utf8proc_version(program)
    known = assigned(tuple(map(int, version.split(".")[:2])))
    release = re.search(r"NormalizationTest-([\d.]+)\.txt", text := read("NormalizationTest.txt"))[1]
    rows, parts, listed, passed = [], None, set(), 0
    for line in text.splitlines():
        parts = line if line.startswith("@Part") else parts
        if not re.match(r"[0-9A-F]", line):
            continue
        points = [[int(point, 16) for point in column.split()] for column in line.split(";")[:5]]
        if parts.startswith("@Part1"):
            listed.add(points[0][0])
        if known.issuperset(point for column in points for point in column):
            rows.append(["".join(map(chr, column)) for column in points])
        else:
            passed += 1
    # What the list of single characters leaves out is its own form in all four.
    others = [[chr(point)] * 5 for point in sorted(known - listed - {0, 10}) if not 0xD800 <= point < 0xE000]
    failures, checks = [], 0
    with Host(program) as host:
        texts = Texts(host)
        for form, rules in RULES.items():
            for columns, expected in rules:
                for column in map(int, columns):
                    wanted = rows + others if column == expected else rows
                    got = texts.change("normalize", "\n".join(row[column - 1] for row in wanted).encode(), 4,
                                       FORMS.index(form)).decode().split("\n")
                    checks += len(wanted)
                    if len(got) != len(wanted):
                        failures.append(f"{form} of column {column}: {len(got)} lines instead of {len(wanted)}")
                    failures += [f"{form} of {ascii(row[column - 1])}: {ascii(line)}, not {ascii(row[expected - 1])}"
                                 for row, line in zip(wanted, got) if line != row[expected - 1]]
    finish(failures, f"Unicode {release}, {len(rows):,} rows and {len(others):,} other characters, {checks:,} results"
           + (f"; {passed} rows passed over, as utf8proc's Unicode {version} lacks their characters" if passed else ""))


main(*sys.argv[1:])
