#!/usr/bin/env bash
# Prints the rows of components.tsv, without its comments.
set -euo pipefail
grep -v '^#' "$(dirname "${BASH_SOURCE[0]}")/components.tsv"
