"""Reads what script/reliability has run, and writes the last column of docs/reliability.md.

report.py targets PRESET      what to build for the tests that the page names
report.py tests PRESET        the pattern of their names, for ctest
report.py write LOGS COMMIT   puts the figures from the folder LOGS into the page; fails where a test has"""

import datetime
import json
import pathlib
import platform
import re
import sys

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs" / "reliability.md"
DRIVEN = re.compile(r".*Oracle|SystemCallFaults|KilledProcesses|ServerLoad")
ROW = re.compile(r"^(\|.*\|.*\| `([^`]+)`(?: \((\w+)\))? \|).*\|$", re.M)
WANTED = {"lines": 97, "branches": 90}


def tests(preset):
    return sorted({name for _, name, build in ROW.findall(PAGE.read_text("utf-8"))
                   if (build or "release") == preset and name.isalnum() and name != "coverage"})


def by_ctest(log):
    """What a log of `ctest -V` says of each test."""
    found = {}
    for number, name, outcome, seconds in re.findall(r"Test +#(\d+): (\S+) \.+ *(\S+) +([\d.]+) sec", log):
        said = re.search(rf"^{number}: (?:figures|skipped): (.*)$", log, re.M)
        passed = re.search(rf"^{number}: \[  PASSED  \] (\d+) tests?", log, re.M)
        text = said[1] if said else f"{passed[1]} tests" if passed else ""
        if outcome == "Passed":
            found[name] = f"{text}; {round(float(seconds))} s"
        else:
            found[name] = f"not run: {text}" if "Skipped" in outcome else "**failed**"
    return found


def figures(logs):
    found = {}
    for preset in ("release", "asan", "tsan"):
        if (log := logs / f"{preset}.log").exists():
            suffix = "" if preset == "release" else f" ({preset})"
            found |= {name + suffix: text for name, text in by_ctest(log.read_text("utf-8", "replace")).items()}
    if (log := logs / "fuzz.log").exists():
        text = log.read_text("utf-8", "replace")
        runs = re.findall(r"^(\w+) +(\d+) inputs, (\d+) seeds, no failure", text, re.M)
        seconds = re.search(r"Fuzzing for (\d+) seconds", text)
        found["script/fuzz"] = "**failed**" if len(runs) != 8 else (
            f"{seconds[1]} s each, {sum(int(run[1]) for run in runs):,} inputs behind "
            f"{sum(int(run[2]) for run in runs)} seeds, no failure")
    if (log := logs / "soak.log").exists():
        said = re.search(r"^figures: (.*)$", log.read_text("utf-8", "replace"), re.M)
        found["script/soak"] = said[1] if said else "**failed**"
    if (log := logs / "coverage.json").exists():
        counts = json.loads(log.read_text("utf-8"))
        reached = {"lines": counts["line_percent"], "branches": counts["branch_percent"]}
        found["coverage"] = ", ".join(f"{percent:.1f} % of {what}" for what, percent in reached.items())
        if "\n100% tests passed" not in (logs / "coverage.log").read_text("utf-8", "replace"):
            found["coverage"] += " (**a test has failed**)"
        if short := [what for what, percent in reached.items() if percent < WANTED[what]]:
            found["coverage"] += f" (**too few {' and '.join(short)}**)"
    return found


def processor():
    model = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text("utf-8"), re.M)
    return model[1] if model else platform.machine()


def write(logs, commit):
    found = figures(pathlib.Path(logs))

    def filled(row):
        key = row[2] + (f" ({row[3]})" if row[3] else "")
        return f"{row[1]} {found.setdefault(key, '**not run**')} |"

    page = ROW.sub(filled, PAGE.read_text("utf-8"))
    system = re.search(r'^PRETTY_NAME="(.*)"$', pathlib.Path("/etc/os-release").read_text("utf-8"), re.M)
    run = f"Last full run: {datetime.date.today()}, commit {commit}, on {system[1]}, {processor()}."
    PAGE.write_text(re.sub(r"^Last full run: .*$", run, page, flags=re.M), "utf-8")
    for key, text in found.items():
        print(f"{key}: {text}")
    return 1 if any("**" in text for text in found.values()) else 0


if __name__ == "__main__":
    command, *words = sys.argv[1:]
    if command == "write":
        sys.exit(write(*words))
    names = tests(words[0])
    if command == "targets":
        print(*sorted({"ReliabilityHost" if DRIVEN.fullmatch(name) else name for name in names}))
    else:
        print(f"^({'|'.join(names)})$")
