"""Base64 and URL escapes against the vectors of RFC 4648 and RFC 3986."""

import base64
import random
import sys
import urllib.parse

from host import Host, Texts, finish

# RFC 4648, section 10.
BASE64 = {b"": b"", b"f": b"Zg==", b"fo": b"Zm8=", b"foo": b"Zm9v", b"foob": b"Zm9vYg==", b"fooba": b"Zm9vYmE=",
          b"foobar": b"Zm9vYmFy"}
# RFC 4648, section 9.
BASE64 |= {b"\x14\xfb\x9c\x03\xd9\x7e": b"FPucA9l+", b"\x14\xfb\x9c\x03\xd9": b"FPucA9k=",
           b"\x14\xfb\x9c\x03": b"FPucAw=="}

# RFC 3986: an escape and what it stands for.
ESCAPES = {
    b"%20": b" ",                                        # 2.1
    b"%3a%3A": b"::",                                    # 2.1: the case of the digits makes no difference
    b"%41%5A%61%7A%30%39%2D%2E%5F%7E": b"AZaz09-._~",    # 2.3: what is unreserved may be escaped
    b"%7Euser": b"~user",                                # 2.4
    b"100%25": b"100%",                                  # 2.4
    b"%E3%82%A2": "ア".encode(),                          # 2.5
    b"%C3%80": "À".encode(),                             # 2.5
    b"a+b": b"a+b",                                      # a plus sign is itself, as in 2.2
}
UNRESERVED = set(b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~")  # 2.3
# Escaped although it needn't be, which 2.3 allows: both spellings are the same URL.
ESCAPED_TOO = b"~"
DELIMITERS = b":/?#[]@!$&'()*+,;="  # 2.2
LATIN1 = 2


def main(program):
    failures, checks = [], 0

    def expect(what, got, expected):
        nonlocal checks
        checks += 1
        if got != expected:
            failures.append(f"{what}: {got!r}, not {expected!r}")

    with Host(program) as host:
        texts = Texts(host)
        vectors = dict(BASE64)
        generator = random.Random(1)
        for length in range(1, 100):
            drawn = generator.randbytes(length)
            vectors[drawn] = base64.b64encode(drawn)
        for plain, digits in vectors.items():
            expect(f"base64 of {plain}", texts.change("base64", plain, LATIN1), digits)
            expect(f"bytes of {digits}", texts.change("unbase64", digits, LATIN1), plain)
        for escaped, plain in ESCAPES.items():
            expect(f"bytes of {escaped}", texts.change("unurl", escaped, LATIN1), plain)
        for byte in range(256):
            plain, escape = bytes([byte]), b"%%%02X" % byte  # upper case, as 2.1 wants producers to have it
            kept = byte in UNRESERVED and plain != ESCAPED_TOO
            expect(f"escape of {plain}", texts.change("url", plain, LATIN1), plain if kept else escape)
            for spelling in (escape, escape.lower()):
                expect(f"byte of {spelling}", texts.change("unurl", spelling, LATIN1), plain)
        everything = bytes(range(256)) + DELIMITERS * 2
        escaped = texts.change("url", everything, LATIN1)
        expect("by the standard library", urllib.parse.unquote_to_bytes(escaped), everything)
        expect("delimiters", texts.change("url", DELIMITERS, LATIN1).decode(), urllib.parse.quote(DELIMITERS, safe=""))
    finish(failures, f"{checks} vectors")


main(*sys.argv[1:])
