#!/usr/bin/env bash
# install.sh BUILD PREFIX: installs a build into an empty prefix.
set -euo pipefail
rm -rf "$2"
cmake --install "$1" --prefix "$2"
