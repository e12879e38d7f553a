"""Eight threads, ten thousand requests: nginx, and between them a server that cuts, stalls, and sends
its replies byte by byte. Each status and size is the one to come; descriptors and memory stay as they are."""

import collections
import contextlib
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time

from host import UNDER_SANITIZER, Host, finish, skip

THREADS = 8
REQUESTS = 2000 if UNDER_SANITIZER else 10000
CONFIGURATION = """
daemon off; master_process off; pid nginx.pid; events {{ worker_connections 128; }}
http {{
    access_log off; client_body_temp_path b; proxy_temp_path p; fastcgi_temp_path f; uwsgi_temp_path u; scgi_temp_path s;
    server {{ listen 127.0.0.1:{port}; root .; location = /moved {{ return 301 /large; }} }}
}}
"""
SMALL, LARGE = 100, 200000
# What the other server does with a connection, by the path: the pieces that it sends, with a flag for what
# follows, the end of the connection or nothing.
HEAD = b"HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n"
REPLIES = {
    "cut": ([HEAD + b"x" * 500], "end"),
    "stall": ([HEAD + b"x" * 10], "nothing"),
    "drip": ([bytes([byte]) for byte in HEAD + b"x" * 1000], "end"),
    "half-head": ([HEAD[:20]], "end"),
}
# Of the requests, one in so many, and the status and size that are to come: libcurl's 18 is a reply cut
# short, 22 a status of 400 and up, 28 out of time, 7 a refused connection. A reply that is cut off in its
# header is an empty success.
MIX = [("stall", 500, "28 10"), ("cut", 50, "18 500"), ("drip", 40, "0 1000"), ("half-head", 60, "0 0"),
       ("refused", 45, "7 0"), ("missing", 20, "22 0"), ("moved", 15, f"0 {LARGE}"), ("large", 5, f"0 {LARGE}"),
       ("small", 1, f"0 {SMALL}")]


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def reply(connection):
    with connection, contextlib.suppress(OSError):
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        request = b""
        while b"\r\n\r\n" not in request:
            request += connection.recv(4096) or b"\r\n\r\n"
        pieces, behind = REPLIES[request.split(b" ")[1].decode().strip("/")]
        for piece in pieces:
            connection.sendall(piece)
        if behind == "nothing":
            connection.recv(1)  # until the other side gives up


def bad_server():
    """A server's port; it runs until the process ends."""
    listener = socket.create_server(("127.0.0.1", 0), backlog=128)

    def accept():
        while True:
            threading.Thread(target=reply, args=(listener.accept()[0],), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()
    return listener.getsockname()[1]


@contextlib.contextmanager
def nginx(folder):
    """Its port."""
    port = free_port()
    (folder / "conf").write_text(CONFIGURATION.format(port=port), "utf-8")
    for name, size in (("small", SMALL), ("large", LARGE)):
        (folder / name).write_bytes(b"x" * size)
    server = subprocess.Popen([shutil.which("nginx", path=os.environ.get("PATH", "") + ":/usr/sbin"), "-p", folder, "-c",
                               folder / "conf", "-e", folder / "errors"])
    try:
        for _ in range(200):
            with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port)):
                break
            time.sleep(0.02)
        yield port
    finally:
        server.terminate()
        server.wait()


def main(program):
    if not shutil.which("nginx", path=os.environ.get("PATH", "") + ":/usr/sbin"):
        skip("there is no nginx; the package nginx-light has it.")
    os.environ["no_proxy"] = "*"
    with tempfile.TemporaryDirectory() as folder, nginx(pathlib.Path(folder)) as good:
        bad, refused = bad_server(), free_port()
        findings, kinds, counts = [], [], collections.Counter()
        lines = []
        for number in range(REQUESTS):
            kind, _, expected = next(row for row in MIX if number % row[1] == row[1] - 1)
            port = refused if kind == "refused" else bad if kind in REPLIES else good
            lines.append(f"fetch http://127.0.0.1:{port}/{kind} {1 if kind == 'stall' else 60}")
            kinds.append((kind, expected))
        with Host(program, THREADS) as host:
            for index, answer in host.ask_all(lines[:REQUESTS // 5]):  # until nothing is new to it any more
                counts[kinds[index]] += answer == kinds[index][1]
            descriptors, memory = host.ask("descriptors"), host.resident()
            for index, answer in host.ask_all(lines[REQUESTS // 5:]):
                kind, expected = kinds[index + REQUESTS // 5]
                counts[kind, expected] += answer == expected
                if answer != expected:
                    findings.append(f"{lines[index + REQUESTS // 5]}: {answer}, not {expected}")
            if host.ask("descriptors") != descriptors:
                findings.append(f"{descriptors} descriptors before, {host.ask('descriptors')} behind it")
            grown = host.resident() - memory
            if grown > max(2048, memory // 10) and not UNDER_SANITIZER:  # whose memory grows by its own rules
                findings.append(f"from {memory} kB it has grown by {grown} kB")
        total = sum(counts.values())
        if total != REQUESTS:
            findings.append(f"{total} of {REQUESTS} requests have their status")
    good = sum(count for (kind, _), count in counts.items() if kind not in REPLIES and kind != "refused")
    finish(findings, f"{total:,} requests by {THREADS} threads, {total - good:,} of them to what misbehaves or isn't there; "
           f"{descriptors} descriptors before and after, {memory:,} kB and {grown:+,} kB")


if __name__ == "__main__":
    main(*sys.argv[1:])
