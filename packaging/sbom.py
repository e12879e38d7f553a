#!/usr/bin/env python3
"""Writes a bill of materials, CycloneDX 1.6, of what is about to be packed.

usage: sbom.py deb LIBRARY          of a library for Debian; versions by dpkg
       sbom.py windows BIN PREFIX   of the DLLs in BIN; PREFIX is where packaging/windows/dependencies
                                    put the dependencies
"""
import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import urllib.parse
import uuid

VENDOR = {"name": "Morvel developers"}

# By the name of the source package: SPDX expressions, read from Debian's copyright files.
LICENCES = {
    "cli11": "BSD-3-Clause",
    "curl": "curl",
    "gcc": "GPL-3.0-or-later WITH GCC-exception-3.1",
    "glibc": "LGPL-2.1-or-later",
    "mingw-w64": "ZPL-2.1",
    "poco": "BSL-1.0",
    "pugixml": "MIT",
    "utf8proc": "MIT",
}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def component(name, version, purl, licence):
    return {"type": "library", "bom-ref": purl, "name": name, "version": version, "purl": purl,
            "licenses": [{"expression": licence}]}


def of_debian(library):
    """The packages that have what the library is linked to."""
    found = {}
    for path in re.findall(r"=> (/\S+)", output("ldd", library)):
        needed = pathlib.Path(path).name
        if f"NEEDED               {needed}\n" not in output("objdump", "-p", library):
            continue
        # dpkg knows the folders as they were before /lib became a link to /usr/lib.
        owner = next(o.stdout for o in (
            subprocess.run(["dpkg", "-S", p], capture_output=True, text=True)
            for p in (path, os.path.realpath(path), path.removeprefix("/usr"))) if o.returncode == 0)
        package = owner.split(": ")[0]
        name, source, version, arch = output(
            "dpkg-query", "-W", "-f", "${Package} ${source:Package} ${Version} ${Architecture}", package).split()
        found[name] = component(name, version, f"pkg:deb/debian/{name}@{urllib.parse.quote(version)}?arch={arch}",
                                LICENCES[re.sub(r"-\d+$", "", source)])
    return list(found.values())


def of_windows(prefix):
    """What is in the DLLs beside the library, and in the examples."""
    def pc(module):
        files = [prefix / folder / "pkgconfig" / f"{module}.pc" for folder in ("lib", "share")]
        text = next(f for f in files if f.exists()).read_text()
        return re.search(r"^Version: *(\S+)", text, re.M).group(1)

    config = next(prefix.rglob("PocoConfigVersion.cmake")).read_text()
    versions = {
        "cli11": pc("CLI11"),
        "curl": pc("libcurl"),
        "gcc": output("dpkg-query", "-W", "-f", "${Version}", "gcc-mingw-w64-x86-64-posix-runtime").split("-")[0],
        "mingw-w64": output("dpkg-query", "-W", "-f", "${source:Upstream-Version}", "mingw-w64-x86-64-dev"),
        "poco": re.search(r'set\(PACKAGE_VERSION "?([\d.]+)', config).group(1),
        "pugixml": pc("pugixml"),
        "utf8proc": pc("libutf8proc"),
    }
    return [component(name, version, f"pkg:generic/{name}@{version}", LICENCES[name])
            for name, version in versions.items()]


def main():
    if sys.argv[1:2] == ["deb"] and len(sys.argv) == 3:
        shipped = [pathlib.Path(sys.argv[2])]
        parts = of_debian(sys.argv[2])
    elif sys.argv[1:2] == ["windows"] and len(sys.argv) == 4:
        shipped = sorted(pathlib.Path(sys.argv[2]).glob("morvel.dll"))
        parts = of_windows(pathlib.Path(sys.argv[3]))
    else:
        sys.exit(__doc__)

    header = pathlib.Path(__file__).resolve().parent.parent / "morvel/version.h"
    version = re.search(r'MORVEL_VERSION "(.+)"', header.read_text()).group(1)
    digest = hashlib.sha256(b"".join(f.read_bytes() for f in shipped)).hexdigest()
    own = component("morvel", version, f"pkg:generic/morvel@{version}", "Apache-2.0")
    own.update(supplier=VENDOR, hashes=[{"alg": "SHA-256", "content": digest}])
    # The moment of the source where it is told, so that a package can be made twice, bit for bit.
    moment = datetime.datetime.fromtimestamp(int(os.environ.get("SOURCE_DATE_EPOCH", 0)) or
                                             datetime.datetime.now().timestamp(), datetime.timezone.utc)
    json.dump({
        "$schema": "http://cyclonedx.org/schema/bom-1.6.schema.json",
        "bomFormat": "CycloneDX",
        "specVersion": "1.6",
        "serialNumber": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_URL, own['purl'] + digest)}",
        "version": 1,
        "metadata": {"timestamp": moment.strftime("%Y-%m-%dT%H:%M:%SZ"), "component": own, "supplier": VENDOR},
        "components": parts,
        "dependencies": [{"ref": own["bom-ref"], "dependsOn": [p["bom-ref"] for p in parts]}],
    }, sys.stdout, indent=2)
    print()


if __name__ == "__main__":
    main()
