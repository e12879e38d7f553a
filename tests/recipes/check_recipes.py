#!/usr/bin/env python3
"""Holds the pages of docs/recipes to their programs.

usage: check_recipes.py PAGES PROGRAMS [COMMAND...]
  PAGES     the folder of the pages, <name>.md beside <name>.cpp
  PROGRAMS  the folder of the built programs
  COMMAND   what to start a program with (wine, or an emulator)

Each block of C++ in a page has to stand in the page's program or in <name>/, but for blanks and line ends; each program has to
end with 0 and to print what the page shows under "prints". There a line "..." stands for any number
of lines, and "..." within a line for any text. A page that says so is given the address of a server
on loopback that answers GET /status/<code>, /slow, /bytes/<count> and any POST, with what was sent.
"""
import http.server
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import threading
import time


class Answers(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def _send(self, code, body):
        self.send_response(code)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        try:
            self.wfile.write(body)
        except OSError:
            pass  # the program has seen enough

    def do_GET(self):
        word, _, number = self.path.lstrip("/").partition("?")[0].partition("/")
        if word == "status":
            self._send(int(number), b"")
        elif word == "bytes":
            self._send(200, b"x" * int(number))
        elif word == "slow":
            time.sleep(5)
            self._send(200, b"late")
        else:
            self._send(200, self.path.encode())

    def do_POST(self):
        self._send(200, self.rfile.read(int(self.headers["Content-Length"])))

    def log_message(self, *_):
        pass


class Server(http.server.ThreadingHTTPServer):
    def handle_error(self, *_):
        pass  # a program that cancels a transfer cuts the connection


def shown(lines):
    """The expression that output has to match."""
    parts = [r"(?:.*\n)*?" if line == "..." else re.escape(line).replace(r"\.\.\.", ".*") + "\n"
             for line in lines]
    return re.compile("".join(parts))


def check(page, programs, command, address):
    text = page.read_text(encoding="utf-8")
    sources = [page.with_suffix(".cpp"), *page.with_suffix("").glob("*.cpp")]
    source = "".join(file.read_text(encoding="utf-8") for file in sources)
    blocks = re.findall(r"^```(\w+)\n(.*?)^```", text, re.M | re.S)
    code = [block for kind, block in blocks if kind == "cpp"]
    if not code:
        return "has no code"
    for block in code:
        if "".join(block.split()) not in "".join(source.split()):
            return f"shows code that its program hasn't:\n{block}"
    program = programs / page.stem
    if not program.exists():
        program = program.with_suffix(".exe")
    arguments = [address] if "<address>" in text else []
    with tempfile.TemporaryDirectory() as work:
        environment = dict(os.environ, HOME=work, no_proxy="*",
                           XDG_DATA_HOME=("Z:" if program.suffix else "") + work)
        try:
            run = subprocess.run([*command, program, *arguments], cwd=work, env=environment,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60)
        except subprocess.TimeoutExpired:
            return "has a program that didn't end within a minute"
    output = run.stdout.decode("utf-8", "replace").replace("\r\n", "\n").replace(address, "<address>")
    expected = [block for kind, block in blocks if kind == "text"]
    wanted = "".join(expected).splitlines()
    if run.returncode != 0 or not shown(wanted).fullmatch(output):
        return f"expects\n{''.join(expected)}but the program ended with {run.returncode} and printed\n{output}"
    return None


def main():
    pages, programs = (pathlib.Path(folder).resolve() for folder in sys.argv[1:3])
    command = sys.argv[3:]
    server = Server(("127.0.0.1", 0), Answers)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    address = f"http://127.0.0.1:{server.server_port}"
    failed = 0
    names = sorted(page for page in pages.glob("*.md") if page.stem != "README")
    for source in pages.glob("*.cpp"):
        if source.with_suffix(".md") not in names:
            print(f"{source.name} has no page")
            failed += 1
    for page in names:
        fault = check(page, programs, command, address)
        if fault:
            print(f"{page.name} {fault}")
            failed += 1
    print(f"{len(names)} recipes, {failed} failed")
    sys.exit(1 if failed or not names else 0)


main()
