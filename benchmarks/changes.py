#!/usr/bin/env python3
"""What changed since the recorded run, beyond the noise.

usage: changes.py RESULTS RECORD --machine TEXT --build TEXT [--record] [--publish]
RESULTS is a folder as report.py takes it, RECORD a file with the figures of an earlier run on this
machine; what it lacks is added to it, and with --record these results take the place of those there.
A job that was never recorded here is compared with the run of docs/performance.md, whose figures stand
in record.json; --publish puts these results there.

A figure has changed if it did so by more than the spreads of both runs, and by two in a hundred at
least. A time has to change beside the best peer of its case, too: where the peer went the same way,
it was the machine.
"""
import argparse
import json
import pathlib

from report import METRICS, WITHOUT_PEERS, best, is_own, read_all, shown

LEAST = 0.02
PUBLISHED = pathlib.Path(__file__).parent / "record.json"


def figures(cases):
    """{case: {subject: {metric: [median, spread]}}}"""
    return {case: {name: {metric: [float(f"{value:.4g}") for value in (subject.median(metric), subject.spread(metric))]
                          for metric in subject.values}
                   for name, subject in subjects.items()}
            for case, subjects in cases.items()}


def change(new, old):
    """(by how much, in parts of the old, and how much of that may be noise)"""
    if not old[0]:
        return (0.0 if new[0] == old[0] else 1.0), LEAST
    return new[0] / old[0] - 1, max(LEAST, new[1] + old[1])


def line(job, case, name, metric, found, recorded, peer):
    """By how much the figure has changed and a sentence on it; None if it has not."""
    new, old = found[name][metric], recorded[name][metric]
    by, noise = change(new, old)
    if abs(by) <= noise:
        return None
    beside = ""
    if metric.endswith(("time", "_ns")) and peer and metric in found[peer] and metric in recorded.get(peer, {}):
        by_peer, peer_noise = change(found[peer][metric], recorded[peer][metric])
        if abs((1 + by) / (1 + by_peer) - 1) <= noise + peer_noise:
            return None
        beside = f"; {peer} {100 * by_peer:+.0f} %"
    where = f"{case}, {name}" if job in WITHOUT_PEERS else case
    what = "" if metric == "time" else f" {metric}"
    return by, (f"{'more' if by > 0 else 'less'}: {where}:{what} {shown(old[0], metric)} -> "
                f"{shown(new[0], metric)} ({100 * by:+.0f} %, noise {100 * noise:.0f} %{beside})")


def compare(job, cases, recorded):
    """The lines for one job, the worst first."""
    found = figures(cases)
    lines = []
    for case, subjects in cases.items():
        peer = None if job in WITHOUT_PEERS else best(subjects)
        for name in subjects:
            before = recorded.get(case, {}).get(name, {})
            if not before or not (is_own(name) or job in WITHOUT_PEERS):
                continue
            lines += [line(job, case, name, metric, found[case], recorded[case], peer)
                      for metric in ("time", *METRICS) if metric in before and metric in found[case][name]]
    return [sentence for _, sentence in sorted(filter(None, lines), reverse=True)]


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("results", type=pathlib.Path)
    arguments.add_argument("record", type=pathlib.Path)
    arguments.add_argument("--machine", required=True)
    arguments.add_argument("--build", required=True)
    arguments.add_argument("--record", dest="replace", action="store_true")
    arguments.add_argument("--publish", action="store_true")
    given = arguments.parse_args()
    results, context = read_all(given.results)
    record = json.loads(given.record.read_text()) if given.record.exists() else {}
    published = json.loads(PUBLISHED.read_text()) if PUBLISHED.exists() else {}
    fresh = {job: {"machine": given.machine, "date": context["date"][:16], "build": given.build, "cases": figures(cases)}
             for job, cases in results.items()}

    print("\n## Changes beyond the noise\n")
    for job, cases in results.items():
        if old := record.get(job) or published.get(job):
            lines = compare(job, cases, old["cases"]) or ["none"]
            where = "" if old.get("machine") in (None, given.machine) else f" on another machine ({old['machine']})"
            print(f"{job}, since {old['build']} of {old['date']}{where}:", *lines, sep="\n    ")
        else:
            print(f"{job}: recorded now, for later runs to be compared with")
        if given.replace or job not in record:
            record[job] = fresh[job]
    given.record.parent.mkdir(parents=True, exist_ok=True)
    given.record.write_text(json.dumps(record))
    if given.publish:
        lines = [f"{json.dumps(job)}: {json.dumps(fresh[job], ensure_ascii=False)}" for job in fresh]
        PUBLISHED.write_text("{\n" + ",\n".join(lines) + "\n}\n")


if __name__ == "__main__":
    main()
