#!/usr/bin/env python3
"""Prints the bill of materials of a package, in the format SPDX 2.3 (JSON): its files with their sums, and the
components of others in it or below it. The same arguments and files give the same bytes.

A component is SOURCE=VERSION: Debian's source package from which it comes, and that package's version. Its licence is in
licences.tsv, which must have a row for it.

  sbom.py --name ktshttpagent-tools --version 0.2.0 --created 1790000000 --folder debian/ktshttpagent-tools \\
      --dynamic curl=7.88.1-10+deb12u15 --static cli11=2.1.2+ds-1 >ktshttpagent-tools.spdx.json
"""

import argparse
import csv
import datetime
import hashlib
import json
import re
import sys
import uuid
from pathlib import Path
from urllib.parse import quote

LICENCES = Path(__file__).with_name("licences.tsv")
LICENCE_TEXTS = {
    "LicenseRef-public-domain": "The authors have put the work into the public domain.",
}
UNLICENSED = "The owner of ktshttpagent has not chosen a licence yet."
OF_DEBIAN = "The licence is the one of Debian's copyright file of the source package."


def known_licences():
    """@return for each source package the row of licences.tsv"""
    with open(LICENCES, encoding="utf-8") as table:
        rows = csv.reader((line for line in table if not line.startswith("#")), delimiter="\t", quoting=csv.QUOTE_NONE)
        return {source: {"licence": licence, "debian": debian, "home": home} for source, licence, debian, home in rows}


def identifier(kind, name):
    """@return a name that SPDX allows, and that differs for names that differ"""
    plain = re.sub(r"[^A-Za-z0-9.-]", "-", name)
    return f"SPDXRef-{kind}-{plain}" if plain == name else f"SPDXRef-{kind}-{plain}-{hash_of(name)[:8]}"


def hash_of(text):
    return hashlib.sha256(text.encode()).hexdigest()


def file_entries(folder, without):
    """@return an entry for each regular file below the folder, by its name there"""
    entries = {}
    for path in sorted(folder.rglob("*")):
        name = path.relative_to(folder).as_posix()
        if path.is_symlink() or not path.is_file() or any(name == left or name.startswith(left + "/") for left in without):
            continue
        content = path.read_bytes()
        entries[name] = {
            "SPDXID": identifier("File", name),
            "fileName": "./" + name,
            "checksums": [{"algorithm": algorithm, "checksumValue": hashlib.new(algorithm.lower(), content).hexdigest()}
                          for algorithm in ("SHA1", "SHA256")],
        }
    return entries


def with_files(package, files):
    """Adds to a package what SPDX demands if its files are listed: a sum over their sums."""
    package["filesAnalyzed"] = bool(files)
    if files:
        sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
        package["packageVerificationCode"] = {
            "packageVerificationCodeValue": hashlib.sha1("".join(sums).encode()).hexdigest()}
    return package


def component_package(text, licences):
    source, separator, version = text.partition("=")
    if not separator or not version:
        sys.exit(f"sbom: not SOURCE=VERSION: {text}")
    if source not in licences:
        sys.exit(f"sbom: {LICENCES} says nothing about the licence of {source}")
    known = licences[source]
    return {
        "SPDXID": identifier("Component", source),
        "name": source,
        "versionInfo": version,
        "supplier": "Organization: Debian",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "homepage": known["home"],
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": known["licence"],
        "licenseComments": OF_DEBIAN,
        "copyrightText": "NOASSERTION",
        "externalRefs": [{
            "referenceCategory": "PACKAGE-MANAGER",
            "referenceType": "purl",
            "referenceLocator": f"pkg:deb/debian/{quote(source)}@{quote(version)}?arch=source",
        }],
    }


def own_package(arguments, files):
    return with_files({
        "SPDXID": identifier("Package", arguments.name),
        "name": arguments.name,
        "versionInfo": arguments.version,
        "supplier": "NOASSERTION",
        "downloadLocation": "NOASSERTION",
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NONE",
        "licenseComments": UNLICENSED,
        "copyrightText": "NOASSERTION",
    }, files)


def relationship(element, kind, related):
    return {"spdxElementId": element, "relationshipType": kind, "relatedSpdxElement": related}


def document(arguments):
    licences = known_licences()
    files = file_entries(arguments.folder, arguments.without)
    own_files = dict(files)
    components, relationships = [], []
    own = identifier("Package", arguments.name)

    for kind, wanted in (("DYNAMIC_LINK", arguments.dynamic), ("STATIC_LINK", arguments.static)):
        for text in sorted(set(wanted)):
            components.append(component_package(text, licences))
            relationships.append(relationship(own, kind, components[-1]["SPDXID"]))
    for text, *names in sorted(arguments.contained):
        missing = [name for name in names if name not in own_files]
        if missing or not names:
            sys.exit(f"sbom: {arguments.folder} has no files of {text}: {' '.join(missing)}")
        theirs = [own_files.pop(name) for name in names]
        components.append(with_files(component_package(text, licences), theirs))
        relationships.append(relationship(own, "CONTAINS", components[-1]["SPDXID"]))
        relationships += [relationship(components[-1]["SPDXID"], "CONTAINS", file["SPDXID"]) for file in theirs]
    relationships += [relationship(own, "CONTAINS", file["SPDXID"]) for file in own_files.values()]

    packages = [own_package(arguments, own_files.values())] + components
    return with_name_of_its_content({
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{arguments.name}-{arguments.version}",
        "creationInfo": {
            "created": f"{datetime.datetime.fromtimestamp(arguments.created, datetime.timezone.utc):%Y-%m-%dT%H:%M:%SZ}",
            "creators": ["Tool: ktshttpagent-sbom"],
        },
        "packages": packages,
        "files": list(files.values()),
        "hasExtractedLicensingInfos": [
            {"licenseId": licence, "extractedText": text} for licence, text in LICENCE_TEXTS.items()
            if any(licence in package["licenseDeclared"] for package in packages)],
        "relationships": [relationship("SPDXRef-DOCUMENT", "DESCRIBES", own)] + relationships,
    })


def with_name_of_its_content(made):
    """Adds the name that no other document may have, and that this one has each time it is made."""
    made["documentNamespace"] = uuid.uuid5(uuid.NAMESPACE_OID, json.dumps(made, sort_keys=True)).urn
    return made


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--name", required=True, help="the package's name")
    parser.add_argument("--version", required=True)
    parser.add_argument("--created", required=True, type=int, help="seconds since 1970, as SOURCE_DATE_EPOCH")
    parser.add_argument("--folder", required=True, type=Path, help="the folder with the package's files")
    parser.add_argument("--without", action="append", default=[], help="a file or folder in it that is not listed")
    parser.add_argument("--dynamic", action="append", default=[], metavar="SOURCE=VERSION",
                        help="a component that the package loads at run time, and that is installed by itself")
    parser.add_argument("--static", action="append", default=[], metavar="SOURCE=VERSION",
                        help="a component that is compiled or linked into the package's programs")
    parser.add_argument("--contained", action="append", default=[], nargs="+", metavar="SOURCE=VERSION FILE",
                        help="a component whose files, named from the folder, lie in the package")
    json.dump(document(parser.parse_args()), sys.stdout, indent=1, ensure_ascii=False)
    print()


if __name__ == "__main__":
    main()
