"""The W3C's suite of XML documents: what NXML says to each, against the table beside this file; what is
accepted comes back from its own text.

check_w3c.py HOST CACHE PUGIXML_VERSION [--update]

The suite comes with the source package of qt6-base, which is fetched once and kept in CACHE. The table
is no list of what is right: pugixml reads no document type, and so takes much that the standard refuses.
It keeps what is said to a document from changing unseen."""

import collections
import io
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import zipfile

from host import Host, finish, skip

TABLE = pathlib.Path(__file__).with_name("w3c-verdicts.txt")
FETCH = pathlib.Path(__file__).resolve().parents[2] / "packaging" / "fetch_sources"

# Accepted, but another tree comes back from their own text. pugixml writes a carriage return that a
# reference stands for (&#13;) as it is, and reads a line feed; text of references to white space alone
# (&#32;) it writes as white space, which it passes over when it reads; at &#0; text ends for it.
CHANGED = {"eduni/errata-2e/E15g.xml", "ibm/valid/P14/ibm14v02.xml", "ibm/valid/P66/ibm66v01.xml",
           "ibm/xml-1.1/valid/P02/ibm02v02.xml", "ibm/xml-1.1/valid/P02/ibm02v05.xml",
           "xmltest/not-wf/sa/142.xml", "xmltest/valid/sa/007.xml", "xmltest/valid/sa/009.xml",
           "xmltest/valid/sa/067.xml"}


def suite(cache):
    """Its folder; fetches it where it isn't there."""
    folder = cache / "w3c-xml"
    if (folder / "xmlconf.xml").exists():
        return folder
    if not shutil.which("apt-get"):
        skip("the suite comes with Debian's source package qt6-base, and there is no apt here.")
    cache.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=cache) as work:
        work = pathlib.Path(work)
        fetched = subprocess.run([FETCH, work, "qt6-base"], stderr=subprocess.PIPE, text=True, check=False)
        archives = list(work.glob("qt6-base_*.orig.tar.*"))
        if fetched.returncode != 0 or not archives:
            print(fetched.stderr[-500:])
            skip("the source package qt6-base, which has the suite, can't be fetched: no network, or no source list.")
        with tarfile.open(archives[0]) as archive:
            for member in archive:
                path = member.name.partition("/XML-Test-Suite/xmlconf/")[2]
                if path and member.isfile() and ".." not in path:
                    target = work / "suite" / path
                    target.parent.mkdir(parents=True, exist_ok=True)
                    data = archive.extractfile(member).read()
                    if path == "xmltest.zip":
                        with zipfile.ZipFile(io.BytesIO(data)) as parts:
                            parts.extractall(work / "suite")
                    else:
                        target.write_bytes(data)
        if not (work / "suite").exists():
            skip("this release's source package qt6-base has no suite.")
        if not folder.exists():  # another driver may have been quicker
            (work / "suite").rename(folder)
    return folder


def catalogue(folder):
    """Each document of the suite's catalogue, by its path, with the type that it has there; and how many of
    those that it names the archive lacks."""
    text = re.sub(r"<!--.*?-->", "", (folder / "finalCatalog.xml").read_text("latin-1"), flags=re.S)
    cases, base = {}, ""
    for tag, rest in re.findall(r"""<(TESTCASES|TEST)\s((?:[^>"']|"[^"]*"|'[^']*')*)>""", text):
        attributes = {name: a or b for name, a, b in re.findall(r"""([\w:]+)\s*=\s*(?:"([^"]*)"|'([^']*)')""", rest)}
        if tag == "TESTCASES":
            base = attributes.get("xml:base", base)
        else:
            cases[base + attributes["URI"]] = attributes["TYPE"]
    found = {path: kind for path, kind in sorted(cases.items()) if (folder / path).exists()}
    return found, len(cases) - len(found)


def main(program, cache, pugixml, update=""):
    folder = suite(pathlib.Path(cache))
    cases, lacking = catalogue(folder)
    verdicts, findings = {}, []
    with Host(program) as host:
        for path, kind in cases.items():
            verdict = host.ask("load", folder / path)
            if verdict is None:
                findings.append(f"{path}: the program ended")
                host.kill()
                break
            if verdict == "changed" and path not in CHANGED:
                findings.append(f"{path}: another tree comes back from its own text")
            verdicts[path] = f"{verdict} {kind}"
    if update:
        lines = [f"# What NXML says to each document of the W3C's suite, with pugixml {pugixml}: its verdict, the suite's own type, the path."]
        TABLE.write_text("\n".join(lines + [f"{verdict} {path}" for path, verdict in verdicts.items()]) + "\n", "utf-8")
    head, *rows = TABLE.read_text("utf-8").splitlines()
    table = {path: f"{verdict} {kind}" for verdict, kind, path in (row.split(" ", 2) for row in rows)}
    missing = [path for path in table if path not in verdicts]
    if len(missing) > len(table) // 20:
        findings.append(f"{len(missing)} documents of the table are not in the suite: {missing[:3]} and so on")
    others = [f"{path}: {verdict}, not {table[path]}" for path, verdict in verdicts.items()
              if path in table and table[path] != verdict]
    same_release = f"pugixml {pugixml}:" in head
    if same_release:
        findings += others
    counts = collections.Counter(verdict.split()[0] for verdict in verdicts.values())
    finish(findings, f"{len(verdicts):,} documents: "
           + ", ".join(f"{count:,} {verdict}" for verdict, count in sorted(counts.items()))
           + (f"; {lacking} of the catalogue are not in the archive" if lacking else "")
           + (f"; {len(missing)} of the table are not in the suite" if missing else "")
           + ("" if same_release else f"; {len(others)} verdicts differ from those with the release of the table, which "
              "do not bind this one"))


main(*sys.argv[1:])
