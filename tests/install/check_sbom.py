#!/usr/bin/env python3
"""Checks bills of materials against the schema of CycloneDX 1.6, which the npm registry has.

usage: check_sbom.py FILE...
Where there is no npm, or no network, only what the library's own script promises is checked.
"""
import json
import pathlib
import subprocess
import sys
import tarfile
import tempfile
import warnings

PACKAGE = "@cyclonedx/cyclonedx-library@10.3.0"


def schemas(folder):
    """The schema and those that it refers to, by file name; empty if they can't be had."""
    try:
        subprocess.run(["npm", "pack", "--silent", PACKAGE], cwd=folder, check=True, capture_output=True, timeout=120)
    except (OSError, subprocess.SubprocessError) as e:
        print(f"the bill of materials is not checked against the schema: {e}")
        return {}
    with tarfile.open(next(pathlib.Path(folder).glob("*.tgz"))) as archive:
        return {pathlib.Path(m.name).name.replace(".SNAPSHOT", ""): json.load(archive.extractfile(m))
                for m in archive if "/res/schema/" in m.name and m.name.endswith(".json")}


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    with tempfile.TemporaryDirectory() as folder:
        known = schemas(folder)
    for path in sys.argv[1:]:
        bill = json.loads(pathlib.Path(path).read_text())
        names = {c["name"] for c in bill["components"]}
        lacking = {n for n in ("poco", "curl", "pugixml", "utf8proc") if not any(n in name for name in names)}
        if lacking:
            sys.exit(f"{path}: no word of {', '.join(sorted(lacking))}")
        if not known:
            continue
        import jsonschema
        warnings.simplefilter("ignore", DeprecationWarning)
        schema = known["bom-1.6.schema.json"]
        store = {s["$id"]: s for s in known.values()}
        store.update({f"http://cyclonedx.org/schema/{name}": s for name, s in known.items()})
        jsonschema.Draft7Validator(
            schema, resolver=jsonschema.RefResolver(schema["$id"], schema, store=store)).validate(bill)
        print(f"{pathlib.Path(path).name}: valid by the schema of CycloneDX 1.6")


if __name__ == "__main__":
    main()
