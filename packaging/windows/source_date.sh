#!/usr/bin/env bash
# Prints the time of the sources, in seconds since 1970: that of the last commit.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
git log -1 --format=%ct
