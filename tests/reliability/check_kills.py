"""Processes killed at random: while they log at full speed behind lines that were flushed, and while they hold
a named lock, or take and give it."""

import collections
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time

from host import Host, finish

ROUNDS = 100
WRITERS = 3
FLUSHED = 500  # lines that are in the file before the process is killed
LINE = re.compile(r'\d+/\d+/\d+ - \[\w{3}\] - \d\d:\d\d:\d\d - NOTICE \[File: \S+ Line: \d+\]\t?\s*"writer (\w+) line (\d+)"')


def lines_of(folder):
    """What the log and its archives hold, the oldest first."""
    files = sorted(folder.glob("killed.log.*"), key=lambda file: -int(file.suffix[1:]))
    return "".join(file.read_text("utf-8") for file in [*files, folder / "killed.log"] if file.exists())


def is_torn(text):
    return text != "" and not text.endswith("\n")


def wrong_in(text, size):
    """What is wrong with a log, whose file has `size` bytes: it ends at a line end, or where the system has
    torn a line, between two pages of memory; and no writer's line is missing before another."""
    if is_torn(text) and size % os.sysconf("SC_PAGE_SIZE") != 0:
        return f"it ends in {text[-80:]!r}"
    text = text[:text.rfind("\n") + 1]
    next_lines = collections.Counter()
    for line in text.splitlines():
        match = LINE.fullmatch(line)
        if match and int(match[2]) != next_lines[match[1]]:
            return f"writer {match[1]} goes on with {match[2]} where {next_lines[match[1]]} was to come"
        if not match and line[:1] != "*":
            return f"it holds {line!r}"
        if match:
            next_lines[match[1]] += 1
    return None


def kill_logging(program, folder, generator):
    """What is wrong after a process is killed while it logs, and what it had written."""
    log = folder / "Tarnwick Software"
    shutil.rmtree(log, ignore_errors=True)
    log.mkdir(parents=True)
    options = {"env": {**os.environ, "XDG_DATA_HOME": str(folder)}}
    with Host(program, WRITERS, **options) as host:
        if host.ask("start-log", "killed") != "1":
            return "no log could be started", ""
        if (host.ask("log", "flushed", FLUSHED), host.ask("flush-log")) != ("", "1"):
            return "the log can't be flushed", ""
        for writer in range(WRITERS):
            host.send("log", f"w{writer}", 100000000)
        time.sleep(generator.uniform(0.002, 0.05))
        host.kill()
    before = lines_of(log)
    if (count := before.count('"writer flushed line ')) != FLUSHED:
        return f"{count} of {FLUSHED} lines are there that were flushed", before
    wrong = wrong_in(before, (log / "killed.log").stat().st_size)
    return wrong or wrong_at_next_start(program, log, options), before


def wrong_at_next_start(program, log, options):
    """Whether another process goes on with lines of its own behind what it finds."""
    before = lines_of(log)
    with Host(program, **options) as host:
        if (host.ask("start-log", "killed"), host.ask("log", "next", 1)) != ("1", ""):
            return "the next start doesn't log"
    after = lines_of(log)
    if not after.startswith(before + ("\n" if is_torn(before) else "")) or not after.endswith('"writer next line 0"\n'):
        return f"behind {before[-40:]!r} the next start goes on with {after[len(before):][:40]!r}"
    return None


def kill_holder(program, name, generator, holds):
    """What is wrong after a process is killed that holds a lock, or takes and gives it back without end."""
    with Host(program) as host:
        if host.ask("hold" if holds else "lock", name, 1) != "":
            return "the lock can't be had"
        if not holds:
            host.send("lock", name, 100000000)
            time.sleep(generator.uniform(0, 0.02))
        host.kill()
    try:
        subprocess.run([program], input=f"lock {name} 1\n", text=True, timeout=20, check=True, stdout=subprocess.PIPE)
    except subprocess.TimeoutExpired:
        return "nobody gets the lock any more"
    return None


def remove_lock(name):
    """Its file and its semaphore, whose key the C library's ftok makes."""
    file = pathlib.Path(f"/tmp/{name}.mutex")
    if file.exists():
        status = file.stat()
        key = ord("p") << 24 | (status.st_dev & 0xFF) << 16 | status.st_ino & 0xFFFF
        subprocess.run(["ipcrm", "-S", hex(key)], stderr=subprocess.DEVNULL, check=False)
        file.unlink()


def main(program):
    seed = random.randrange(2**32)
    generator = random.Random(seed)
    findings, lines, torn = [], 0, 0
    name = f"morvel-killed-{os.getpid()}"
    with tempfile.TemporaryDirectory() as folder:
        for number in range(ROUNDS):
            wrong, text = kill_logging(program, pathlib.Path(folder), generator)
            lines += text.count("writer ")
            torn += is_torn(text)
            if wrong:
                findings.append(f"log, round {number} of seed {seed}: {wrong}")
        log = pathlib.Path(folder, "Tarnwick Software")
        (log / "killed.log").write_text("a line\nand a part of", "utf-8")
        if wrong := wrong_at_next_start(program, log, {"env": {**os.environ, "XDG_DATA_HOME": folder}}):
            findings.append(wrong)
    if lines == 0:
        findings.append("no line was ever written")
    try:
        for number in range(ROUNDS):
            if wrong := kill_holder(program, name, generator, number % 2 == 0):
                findings.append(f"lock, round {number} of seed {seed}: {wrong}")
    finally:
        remove_lock(name)
    finish(findings, f"{ROUNDS} kills while logging, {lines:,} lines whole and in order, {torn} ends between two pages "
           f"inside a line, which got a line of its own; {ROUNDS} kills of lock holders, {ROUNDS // 2} of "
           "them while they had it for certain")


if __name__ == "__main__":
    main(*sys.argv[1:])
