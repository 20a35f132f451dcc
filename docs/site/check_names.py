#!/usr/bin/env python3
"""Checks what Doxygen does not: docs/site/check_names.py XML_FOLDER GLOSSARY

Every value of a public enumeration must be documented. And the glossary must have every name that travels between hosts
and server: the fields of the records, the parameters of senders, signals and operations, and the members of the JSON in
sdk/requests.
"""

import re
import sys
from pathlib import Path
from xml.etree import ElementTree

ROOT = Path(__file__).resolve().parents[2]
RECORD_HEADERS = ("ktshttpagent/RequestRecords.h", "ktshttpagent/ResultRecords.h")
INTERFACES = ("CUIAgentReq", "CUIAgentRsp", "VelCSDK::IVelClientSDk")
OPERATION = re.compile(r"Send|Sig|Get|Post|Report")


def undocumented_values(compounds):
    return [f"{enumeration.findtext('name')}::{value.findtext('name')} is not documented"
            for compound in compounds for enumeration in compound.iter("memberdef")
            if enumeration.get("kind") == "enum"
            for value in enumeration.iter("enumvalue")
            if not any("".join(value.find(part).itertext()).strip()
                       for part in ("briefdescription", "detaileddescription"))]


def names_of_records(compounds):
    return {member.findtext("name") for compound in compounds
            if compound.get("kind") == "struct" and compound.find("location").get("file") in RECORD_HEADERS
            for member in compound.iter("memberdef") if member.get("kind") == "variable"}


def names_of_parameters(compounds):
    return {parameter.findtext("declname") for compound in compounds
            if compound.findtext("compoundname") in INTERFACES
            for member in compound.iter("memberdef")
            if member.get("prot") == "public" and OPERATION.match(member.findtext("name"))
            for parameter in member.iter("param") if parameter.find("declname") is not None}


def names_in_json():
    names = set()
    for path in sorted((ROOT / "sdk/requests").glob("*.cpp")):
        code = re.sub(r"^#.*$", "", path.read_text(encoding="utf-8"), flags=re.MULTILINE)
        names.update(re.findall(r'"(\w+)"', code))
    return names


def main():
    xml, glossary = Path(sys.argv[1]), Path(sys.argv[2]).read_text(encoding="utf-8")
    compounds = [compound for path in sorted(xml.glob("*.xml"))
                 for compound in ElementTree.parse(path).iter("compounddef")]
    groups = (names_of_records(compounds), names_of_parameters(compounds), names_in_json())
    if not all(len(group) > 10 for group in groups):
        print("check_names: the names were not found; has the layout of the headers changed?", file=sys.stderr)
        return 1
    explained = {name for line in glossary.splitlines() if line.startswith("|")
                 for name in re.findall(r"`([^`]+)`", line.split("|")[1])}
    errors = undocumented_values(compounds)
    errors += [f"docs/glossary.md: `{name}` is missing" for name in sorted(set().union(*groups) - explained)]
    for error in errors:
        print(error, file=sys.stderr)
    return 1 if errors else 0


sys.exit(main())
