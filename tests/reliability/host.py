"""What the drivers share: the host under test, the sentence at the end, and the reason for a skip."""

import contextlib
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading

ENCODINGS = ["System", "ASCII", "Latin1", "Latin9", "UTF8", "UTF16"]
FORMS = ["NFD", "NFKD", "NFC", "NFKC"]
UNDER_SANITIZER = any(name in os.environ for name in ("ASAN_OPTIONS", "TSAN_OPTIONS"))


def skip(sentence):
    """Ends the driver; ctest counts it as skipped."""
    print(f"skipped: {sentence}")
    sys.exit(77)


def finish(failures, figures):
    """Ends the driver with what it found and with the figures for docs/reliability.md."""
    for failure in failures[:40]:
        print(failure)
    if failures:
        print(f"failed: {len(failures)} findings")
        sys.exit(1)
    print(f"figures: {figures}")
    sys.exit(0)


class Host:
    """The program that knows the library, asked line by line. `with` ends it, and the driver where that, for
    a leak, say, wasn't as it is to be."""

    def __init__(self, program, threads=1, under=(), **options):
        self.process = subprocess.Popen([*under, program, str(threads)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True, **options)
        self._answered, self._killed = 0, False

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()
        if kind is None and not self._killed and self.process.returncode != 0:
            sys.exit(f"failed: the program ended with {self.process.returncode}")

    def kill(self):
        """Also where the driver itself tells that it has ended."""
        self._killed = True
        self.process.kill()

    def send(self, *words):
        print(*words, file=self.process.stdin, flush=True)

    def receive(self):
        """The answer to one of the lines; None where the program has ended."""
        answer = self.process.stdout.readline()
        self._answered += 1
        return answer.rstrip("\n").split(" ", 1)[1] if answer.endswith("\n") else None

    def ask(self, *words):
        self.send(*words)
        return self.receive()

    def ask_all(self, lines):
        """The answers as they come, each with the index of its line; by several threads, in any order."""
        def write():
            with contextlib.suppress(BrokenPipeError):
                for line in lines:
                    self.process.stdin.write(line + "\n")
                self.process.stdin.flush()

        first = self._answered
        writer = threading.Thread(target=write)
        writer.start()
        for _ in lines:
            number, _, answer = self.process.stdout.readline().rstrip("\n").partition(" ")
            if not number:
                break
            self._answered += 1
            yield int(number) - first, answer
        writer.join()

    def resident(self):
        """Kilobytes of memory."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text("utf-8")
        return int(re.search(r"^VmRSS:\s*(\d+) kB", status, re.M)[1])


class Texts:
    """Commands that change text from a file to a file, as if they took and gave bytes."""

    def __init__(self, host):
        self._host = host
        self._folder = tempfile.TemporaryDirectory()
        self._in, self._out = (pathlib.Path(self._folder.name, name) for name in ("in", "out"))

    def change(self, command, text, encoding, argument=0):
        self._in.write_bytes(text)
        answer = self._host.ask(command, self._in, self._out, encoding, argument)
        if answer != "":
            return answer
        return self._out.read_bytes()
