#!/usr/bin/env python3
"""sbom_check.py FILE FOLDER: fails, with a line for each reason, unless FILE is a valid bill of materials (SPDX 2.3,
JSON) of FOLDER: every field as the standard demands, every reference to something that exists, every licence in the lists
that SPDX publishes (from Debian's packages node-spdx-license-ids and node-spdx-exceptions) and as Debian's copyright
files have it, and exactly the folder's files with their sums. FILE itself may lie in FOLDER.
"""

import hashlib
import json
import re
import subprocess
import sys
from pathlib import Path

import jsonschema

from sbom import known_licences

SPDX_LISTS = Path("/usr/share/nodejs")


def schema_faults(made):
    schema = json.loads(Path(__file__).with_name("schema.json").read_text(encoding="utf-8"))
    for fault in jsonschema.Draft7Validator(schema).iter_errors(made):
        yield f"{'/'.join(map(str, fault.absolute_path))}: {fault.message}"


def reference_faults(made):
    ids = [made["SPDXID"]] + [element["SPDXID"] for element in made["packages"] + made["files"]]
    yield from (f"{twice} names two elements" for twice in sorted({name for name in ids if ids.count(name) > 1}))
    related = set()
    for row in made["relationships"]:
        related.add(row["relatedSpdxElement"])
        yield from (f"{end} does not exist" for end in (row["spdxElementId"], row["relatedSpdxElement"]) if end not in ids)
    yield from (f"{name} is related to nothing" for name in ids[1:] if name not in related)


def licence_faults(made):
    names = set(json.loads((SPDX_LISTS / "spdx-license-ids/index.json").read_text(encoding="utf-8")))
    exceptions = set(json.loads((SPDX_LISTS / "spdx-exceptions/index.json").read_text(encoding="utf-8")))
    names |= {own["licenseId"] for own in made.get("hasExtractedLicensingInfos", [])}
    for package in made["packages"]:
        for licence in (package["licenseDeclared"], package["licenseConcluded"]):
            if licence in ("NONE", "NOASSERTION"):
                continue
            for part in re.split(r" (?:AND|OR) ", licence):
                name, _, exception = part.strip("()").partition(" WITH ")
                if name not in names or (exception and exception not in exceptions):
                    yield f"{package['name']}: {part} is not in SPDX's lists"


def debian_word(source):
    """@return what Debian's copyright file of an installed package from this source calls the licence of "Files: *";
    none if there is no such package here, or its file is not in the machine-readable format"""
    shown = subprocess.run(["dpkg-query", "-W", "-f", "${source:Package} ${Package}\n"], capture_output=True, text=True,
                           check=True).stdout
    for package in (line.split()[1] for line in shown.splitlines() if line.split()[0] == source):
        path = Path(f"/usr/share/doc/{package}/copyright")
        text = path.read_text(encoding="utf-8") if path.is_file() else ""
        found = re.search(r"^Files: *\*\n(?:.+\n)*?License: *(.+)$", text, re.MULTILINE)
        if found:
            return found.group(1).strip()
    return None


def debian_faults(made):
    known = known_licences()
    for package in made["packages"]:
        row = known.get(package["name"])
        if row and (debian_word(package["name"]) or "-") not in (row["debian"], "-"):
            yield f"{package['name']}: Debian says {debian_word(package['name'])}, licences.tsv expects {row['debian']}"


def sum_faults(made, folder, own):
    listed = {file["fileName"]: file for file in made["files"]}
    there = {"./" + path.relative_to(folder).as_posix() for path in folder.rglob("*")
             if path.is_file() and not path.is_symlink() and path.resolve() != own
             and path.relative_to(folder).parts[0] != "DEBIAN"}
    yield from (f"{name} is not listed" for name in sorted(there - set(listed)))
    yield from (f"{name} is listed, but not there" for name in sorted(set(listed) - there))
    for name in sorted(there & set(listed)):
        content = (folder / name).read_bytes()
        for row in listed[name]["checksums"]:
            if hashlib.new(row["algorithm"].lower(), content).hexdigest() != row["checksumValue"]:
                yield f"{name}: another {row['algorithm']}"


def main():
    file, folder = Path(sys.argv[1]), Path(sys.argv[2])
    made = json.loads(file.read_text(encoding="utf-8"))
    faults = list(schema_faults(made))
    if not faults: # the others rely on the fields
        faults = [*reference_faults(made), *licence_faults(made), *debian_faults(made),
                  *sum_faults(made, folder, file.resolve())]
    for fault in faults:
        print(f"{file.name}: {fault}", file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
