#!/usr/bin/env bash
# tests/labserver_page/run.sh FOLDER [--screenshots]: tests the lab server's page in headless Chromium, with the program
# in FOLDER; or makes the pictures of the page in docs/images anew. What it uses from npm is installed into
# build/labserver_page, in the versions of package-lock.json.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
KTS_PROGRAMS=$(realpath "${1:?usage: tests/labserver_page/run.sh FOLDER [--screenshots]}")
export KTS_PROGRAMS NPM_CONFIG_UPDATE_NOTIFIER=false
tools=build/labserver_page

mkdir -p "$tools"
if ! cmp -s tests/labserver_page/package-lock.json "$tools/installed.json"; then
  echo "labserver-page: installing the tools from npm"
  cp tests/labserver_page/package.json tests/labserver_page/package-lock.json "$tools"
  npm ci --prefix "$tools" --ignore-scripts --no-audit --no-fund --loglevel=error
  cp tests/labserver_page/package-lock.json "$tools/installed.json"
fi
if [ "${2:-}" = --screenshots ]; then
  node tests/labserver_page/screenshots.mjs
else
  node --test --test-reporter=spec tests/labserver_page/*_test.mjs
fi
