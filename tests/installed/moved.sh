#!/usr/bin/env bash
# moved.sh PREFIX FOLDER SCRIPT ARGUMENT...: runs another test with a copy of the prefix in another folder.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
folder=$2 script=$3
cp -a "$1" "$folder/moved"
shift 3
exec "$here/$script" "$folder/moved" "$folder" "$@"
