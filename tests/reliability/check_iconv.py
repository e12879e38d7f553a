"""Every code point through each pair of the six encodings, against the C library's iconv."""

import shutil
import subprocess
import sys

from host import ENCODINGS, FORMS, Host, Texts, finish, skip

ICONV = {"System": "UTF-8", "ASCII": "ASCII", "Latin1": "ISO-8859-1", "Latin9": "ISO-8859-15", "UTF8": "UTF-8",
         "UTF16": "UTF-16LE"}
# Where the two differ, and why that is right:
# - What a target lacks, and what is no character of its source, iconv passes over: here it becomes "?".
# - Text under the tag UTF-8 is brought to NFC on its way, as check_normalization.py tests it; what iconv
#   is asked for is the NFC.
# - NUL ends text under the tags System and UTF-8, and a line end parts the characters here: both are left out.
POINTS = [point for point in range(1, 0x110000) if point != 10 and not 0xD800 <= point < 0xE000]
NARROW = ("ASCII", "Latin1", "Latin9")
BYTES = [byte for byte in range(1, 256) if byte != 10]


def iconv(source, target, text):
    return subprocess.run(["iconv", "-c", "-f", ICONV[source], "-t", ICONV[target]], input=text,
                          stdout=subprocess.PIPE, check=False).stdout


def lines(text, encoding):
    """One string a line; what is no UTF-16 stays byte for byte."""
    return text.decode("utf-16-le" if encoding == "UTF16" else "latin-1", "replace").split("\n")


def joined(parts, encoding):
    return "\n".join(parts).encode("utf-16-le" if encoding == "UTF16" else "latin-1")


def converted(source, target, text):
    """By iconv, with "?" where that has nothing for a line."""
    result = iconv(source, target, text)
    if source in NARROW or target in NARROW:
        result = joined([line or "?" for line in lines(result, target)], target)
    return result


def main(program):
    if not shutil.which("iconv"):
        skip("there is no program iconv; the package libc-bin has it.")
    failures, checks = [], 0
    everything = "\n".join(map(chr, POINTS)).encode()
    narrow = b"\n".join(bytes([byte]) for byte in BYTES)
    with Host(program) as host:
        texts = Texts(host)
        nfc = texts.change("normalize", everything, ENCODINGS.index("UTF8"), FORMS.index("NFC"))
        changed = {index: line for index, (point, line) in enumerate(zip(POINTS, nfc.decode().split("\n")))
                   if chr(point) != line}
        for target in ENCODINGS:
            plain, composed = converted("UTF8", target, everything), iconv("UTF8", target, nfc)
            if target in NARROW:
                # A character that is composed or taken apart may be several, each of which may be missing.
                apart = converted("UTF8", target, "\n".join("\n".join(text) for text in changed.values()).encode())
                parts, pieces = lines(plain, target), iter(lines(apart, target))
                for index, text in changed.items():
                    parts[index] = "".join(next(pieces) for _ in text)
                composed = joined(parts, target)
            for source in ENCODINGS:
                text, expected = everything, composed if source == "UTF8" else plain
                if source in NARROW:
                    text = expected = narrow
                    if source != target:  # else there is nothing to convert, and nothing to refuse
                        expected = converted(source, target, narrow)
                elif source == "UTF16":
                    text = everything.decode().encode("utf-16-le")
                got = texts.change("convert", text, ENCODINGS.index(source), ENCODINGS.index(target))
                checks += len(BYTES if source in NARROW else POINTS)
                if got != expected:
                    got, expected = lines(got, target), lines(expected, target)
                    failures.append(f"{source} to {target}: {len(got)} lines, {len(expected)} by iconv")
                    failures += [f"  line {number}: {ascii(line)}, by iconv {ascii(other)}"
                                 for number, (line, other) in enumerate(zip(got, expected)) if line != other][:10]
    finish(failures, f"{len(POINTS):,} code points, {len(ENCODINGS)**2} pairs of encodings, {checks:,} conversions")


main(*sys.argv[1:])
