#!/usr/bin/env bash
# bill_test.sh ZIP: checks the bill of materials of the zip: that it is one, and that it lists exactly the zip's files.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
unzip -q "$1" -d "$folder"
cd "$folder"/*
"$here/../sbom/sbom_check.py" ktshttpagent.spdx.json .
