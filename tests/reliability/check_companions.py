"""The companions against Python's codecs and URLs: malformed text, what an encoding can hold, documents in
the encodings that they declare, queries."""

import os
import pathlib
import random
import sys
import tempfile
import urllib.parse

from host import ENCODINGS, Host, finish

CODECS = {"ASCII": "ascii", "Latin1": "latin-1", "Latin9": "iso8859-15", "UTF8": "utf-8", "UTF16": "utf-16-le",
          "System": "utf-8"}
# Of each kind of fault one, and what is none: each is tried alone and behind, before and between the others.
PIECES = [b"a", b"\0", b"\xc3\xa9", b"\xe2\x82\xac", b"\xf0\x9f\x98\x80", b"\xc3", b"\x80", b"\xc0\xaf", b"\xed\xa0\x80",
          b"\xf4\x90\x80\x80", b"\xff\xfe", b"\x3d\xd8\x00\xde", b"\x00\xd8", b"\x00\xdc", b"e\xcc\x81"]
LETTERS = "aé€Šžœ\u0153\u0178ÿ¤あ😀"
# A document says its encoding by its declaration or by its first bytes.
DECLARED = {"utf-8": "utf-8", "iso-8859-1": "latin-1", "latin1": "latin-1", "ISO-8859-15": "iso8859-15",
            "latin-9": "iso8859-15", "windows-1252": "cp1252", "CP1252": "cp1252", "us-ascii": "ascii"}
BY_BYTES = ["utf-16", "utf-16-le", "utf-16-be", "utf-32", "utf-8-sig"]
STATUS = {0: "Success", -2: "The transfer was cancelled", -3: "No file was named for the reply",
          -4: "The file for the reply could not be opened", -5: "The URL's scheme is neither http nor https",
          100: "The transfer library could not be started", -1: "Unknown status", 5000: "Unknown status"}


def first_malformed(text, codec):
    """Offset of what Python can't decode, -1 without any."""
    try:
        text.decode(codec)
        return -1
    except UnicodeDecodeError as error:
        return error.start


def encodable(text, codec):
    try:
        text.encode(codec)
        return True
    except UnicodeEncodeError:
        return False


class Checks:
    def __init__(self, host, folder):
        self.count, self.findings = 0, []
        self._host, self._file = host, pathlib.Path(folder, "file")

    def expect(self, expected, data, command, *words):
        self._file.write_bytes(data)
        got = self._host.ask(command, self._file, *words)
        self.count += 1
        if got != expected:
            self.findings.append(f"{command} {words} of {data!r}: {got!r}, not {expected!r}")


def main(program):
    generator = random.Random(1)
    with Host(program) as host, tempfile.TemporaryDirectory() as folder:
        checks = Checks(host, folder)
        for name, codec in CODECS.items():
            for number in range(400):
                text = b"".join(generator.choices(PIECES, k=number % 6)) if number >= len(PIECES) else PIECES[number]
                # Under these tags text ends at a NUL, and well-formed text is composed before it is looked at.
                if name in ("UTF8", "System") and (b"\0" in text or b"e\xcc\x81" in text):
                    continue
                if name == "System" and first_malformed(text, codec) >= 0:
                    continue  # what the platform's converter passes over, may differ
                checks.expect(str(first_malformed(text, codec)), text, "malformed", "-", ENCODINGS.index(name))
            for length in range(200):
                text = "".join(generator.choices(LETTERS, k=length % 4))
                checks.expect(str(int(encodable(text, codec))), text.encode(), "can-convert", "-", 4, ENCODINGS.index(name))
        for text, count in {"": 0, "aé": 2, "e\u0301": 1, "\U0001F1E8\U0001F1ED": 1, "\U0001F468\u200D\U0001F469": 1,
                            "각": 1, "a\r\n": 2, "あ😀": 2}.items():
            checks.expect(str(count), text.encode(), "count", "-", 4)
        for codec, kept in [(codec, f'<?xml version="1.0" encoding="{name}"?>') for name, codec in DECLARED.items()] + [
                (codec, "") for codec in BY_BYTES]:
            for letters in [*LETTERS, bytes(range(0x80, 0x100)).decode(codec, "ignore")]:
                body = f"<r>{letters if letters and encodable(letters, codec) else 'a'}</r>"
                checks.expect(body, (kept + body).encode(codec), "load-from")
            letter = "é" if encodable("é", codec) else "e"
            for head, place in ("<r>\n", "2:4"), ("<r>", f"1:{len(kept) + 7}"):
                checks.expect(f"{'0:0' if codec == 'utf-32' else place} Start-end tags mismatch",
                              f"{kept}{head}{letter}</x>".encode(codec), "load-from")
        for place, message, document in [("1:31", 'The encoding "klingon" is not known', b'<?xml version="1.0" encoding="klingon"?><r/>'),
                                         ("1:4", "The bytes are not UTF-8", b"<r>\xff</r>")]:
            checks.expect(f"{place} {message}", document, "load-from")
        checks.expect("<r/>", b"<?xml version=1.0 encoding=x?><r/>", "load-from")
        for base in ("http://h/p", "http://h/p?", "http://h/p?a=1", "http://h/p#f", "http://h/p?a=1#f"):
            url, _, fragment = base.partition("#")
            for letter in LETTERS + "&=+ /?#%~":
                joint = "" if url.endswith("?") else "&" if "?" in url else "?"
                query = f"n={urllib.parse.quote(letter, safe='').replace('~', '%7E')}"  # which RFC 3986 allows
                checks.expect(url + joint + query + ("#" + fragment if fragment else ""), letter.encode(), "query", base, 4)
        for status, sentence in STATUS.items():
            checks.expect(sentence, b"", "status", status)
        checks.expect("-5 0", b"", "fetch", 1)  # the name of a file is no address
        for text, read in {b"\xfe\xff\0Z": "5A00", b"\xfe\xff\0Z\0": "5A0000", b"\xff\xfeZ\0\0": "5A0000",
                           b"\xef\xbb\xbfe\xcc\x81": "C3A9", b"\xfe": "FE"}.items():
            checks.expect(read, text, "decode", "-", 0)
        for pattern, text, found in [("%Y-%m-%d", "2024-02-29", 1), ("%Y-%m-%d", "31.12.2024", 0), ("%H:%M", "10:20", 0),
                                     ("abc", "abc", 0), ("%%", "%", 0), ("%b", "May", 1)]:
            checks.expect(str(found), pattern.encode(), "strict", text, 0)
        pipe = pathlib.Path(folder, "pipe")
        os.mkfifo(pipe)
        if not host.ask("write", pipe, 1) or not pipe.is_fifo():
            checks.findings.append("a pipe was replaced by a file")
    finish(checks.findings, f"{checks.count:,} results")


if __name__ == "__main__":
    main(*sys.argv[1:])
