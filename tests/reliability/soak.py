"""A mixed load for as many minutes as are wanted, with memory and descriptors watched; script/soak runs it."""

import itertools
import os
import pathlib
import random
import sys
import tempfile
import time

from check_kills import remove_lock
from check_load import bad_server, nginx
from host import Host, finish

THREADS = 8
BATCH = 360
WARM = 5  # seconds until all has been done some times: what grows behind them, leaks
XML = "<order><customer id='17'>Zo&#235;</customer>" + "<item><price>12.50</price></item>" * 50 + "</order>"


def jobs(folder, good, bad, lock, generator):
    """Lines for the host without end, each with what is to come of it."""
    (folder / "document").write_text(XML, "utf-8")
    (folder / "text").write_text("e\u0301 \uac00 \u00df " * 200, "utf-8")
    for number in itertools.count():
        place = f"{folder}/{number % (4 * THREADS)}"
        rows = [
            (f"load {folder}/document", "accepted"),
            (f"read {folder}/document", str(len(XML))),
            (f"normalize {folder}/text {place}-text 4 {generator.randrange(4)}", ""),
            (f"convert {folder}/text {place}-converted 4 {generator.randrange(6)}", ""),
            (f"base64 {folder}/text {place}-base64 2", ""),
            (f"values - {generator.randrange(200)}", ""),
            (f"write {place}-written 5000", ""),
            (f"save-safely {place}-safe 5000", ""),
            (f"save {place}-saved 100", "1"),
            (f"stream-write {place}-stream", "8"),
            (f"create-folders {place}/a/b", ""),
            (f"exists {folder}/missing", "0"),
            (f"remove {folder}/missing", "!File not found"),
            (f"log {number} 5", ""),
            (f"lock {lock} 20", ""),
            (f"fetch http://127.0.0.1:{good}/small 60", "0 100"),
            (f"fetch http://127.0.0.1:{good}/large 60", "0 200000"),
            (f"fetch http://127.0.0.1:{good}/missing 60", "22 0"),
            (f"fetch http://127.0.0.1:{bad}/cut 60", "18 500"),
            (f"fetch http://127.0.0.1:{bad}/drip 60", "0 1000"),
        ]
        generator.shuffle(rows)
        yield from rows


def main(program, minutes):
    os.environ["no_proxy"] = "*"
    seed = random.randrange(2**32)
    lock, findings, done, wrong = f"morvel-soak-{os.getpid()}", [], 0, 0
    start = minute = time.monotonic()
    end, warm = start + 60 * float(minutes), None
    with tempfile.TemporaryDirectory() as folder, nginx(pathlib.Path(folder)) as good:
        environment = {**os.environ, "XDG_DATA_HOME": folder}
        rows = jobs(pathlib.Path(folder), good, bad_server(), lock, random.Random(seed))
        with Host(program, THREADS, env=environment) as host:
            host.ask("start-log", "soak")
            while (now := time.monotonic()) < end:
                batch = list(itertools.islice(rows, BATCH))
                for index, answer in host.ask_all([line for line, _ in batch]):
                    done += 1
                    if answer != batch[index][1]:
                        wrong += 1
                        findings.append(f"{batch[index][0]}: {answer!r}, not {batch[index][1]!r}")
                if host.process.poll() is not None:
                    findings.append(f"the program ended with {host.process.returncode}")
                    host.kill()
                    break
                if warm is None and now > start + WARM:
                    warm = int(host.ask("descriptors")), host.resident()
                if now >= minute + 60:
                    minute += 60
                    print(f"minute {round((minute - start) / 60):4}: {done:,} operations, {wrong} wrong, "
                          f"{host.ask('descriptors')} descriptors, {host.resident():,} kB", flush=True)
            if warm and not findings:
                descriptors, memory = int(host.ask("descriptors")), host.resident()
                if descriptors != warm[0]:
                    findings.append(f"{warm[0]} descriptors at first, {descriptors} at the end")
                if memory > warm[1] + max(4096, warm[1] // 10):
                    findings.append(f"{warm[1]:,} kB at first, {memory:,} kB at the end")
    remove_lock(lock)
    if findings:
        print(f"seed {seed}")
    finish(findings, f"{minutes} minutes, {done:,} operations by {THREADS} threads, none wrong; {warm[0]} descriptors, "
           f"{warm[1]:,} kB at first and {memory:,} kB at the end" if not findings else "")


main(*sys.argv[1:])
