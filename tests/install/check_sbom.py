#!/usr/bin/env python3
"""Checks bills of materials against the schema of CycloneDX 1.6.

usage: check_sbom.py FILE...
"""
import json
import pathlib
import sys
import warnings

import jsonschema

SCHEMAS = pathlib.Path(__file__).parents[2] / "packaging" / "cyclonedx"


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    warnings.simplefilter("ignore", DeprecationWarning)
    known = {path.name: json.loads(path.read_text()) for path in SCHEMAS.glob("*.json")}
    schema = known["bom-1.6.schema.json"]
    store = {s["$id"]: s for s in known.values()}
    store.update({f"http://cyclonedx.org/schema/{name}": s for name, s in known.items()})
    for path in sys.argv[1:]:
        bill = json.loads(pathlib.Path(path).read_text())
        names = {c["name"] for c in bill["components"]}
        lacking = {n for n in ("poco", "curl", "pugixml", "utf8proc") if not any(n in name for name in names)}
        if lacking:
            sys.exit(f"{path}: no word of {', '.join(sorted(lacking))}")
        jsonschema.Draft7Validator(
            schema, resolver=jsonschema.RefResolver(schema["$id"], schema, store=store)).validate(bill)
        print(f"{pathlib.Path(path).name}: valid by the schema of CycloneDX 1.6")


if __name__ == "__main__":
    main()
