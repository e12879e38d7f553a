"""Local time in every zone of zone.tab, each hour of two years, against the C library."""

import os
import pathlib
import sys
import time

from host import Host, finish, skip

TABLE = pathlib.Path("/usr/share/zoneinfo/zone.tab")
FIRST, HOURS = 482136, 2 * 8760  # from 2025-01-01 00:00 UTC to the end of 2026


def offsets(zone):
    """The hours at which the C library's local time changes its distance from UTC, and to how many seconds."""
    os.environ["TZ"] = zone
    time.tzset()
    changes, before = [], None
    for hour in range(FIRST, FIRST + HOURS):
        ahead = time.localtime(hour * 3600).tm_gmtoff
        if ahead != before:
            changes.append(f"{hour}:{ahead}")
        before = ahead
    return changes


def main(program):
    if not TABLE.exists():
        skip(f"there is no {TABLE}; the package tzdata has it.")
    zones = sorted({line.split("\t")[2].strip() for line in TABLE.read_text("utf-8").splitlines() if line[:1] != "#"})
    failures, changes = [], 0
    with Host(program) as host:
        for zone in zones:
            host.send("offsets", zone, "-", FIRST, HOURS)  # works while we do
            expected = offsets(zone)
            got = host.receive().split()
            changes += len(expected) - 1
            if got != expected:
                failures.append(f"{zone}: {got}, by the C library {expected}")
    if changes == 0:
        failures.append("no zone has changed its time in two years")
    finish(failures, f"{len(zones)} zones, {len(zones) * HOURS:,} hours, {changes} changes of the clock")


main(*sys.argv[1:])
