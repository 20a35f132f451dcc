#!/usr/bin/env bash
# tests/contract/run.sh FOLDER: holds docs/api/openapi.yaml, the library and the lab server against each other, with the
# programs in FOLDER. What it uses from npm is installed into build/contract, in the versions of package-lock.json.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
programs=${1:?usage: tests/contract/run.sh FOLDER}
tools=build/contract
# Nothing of these tools may look for newer versions, or tell anybody that they run.
export REDOCLY_TELEMETRY=off REDOCLY_SUPPRESS_UPDATE_NOTICE=true NPM_CONFIG_UPDATE_NOTIFIER=false

mkdir -p "$tools"
if ! cmp -s tests/contract/package-lock.json "$tools/installed.json"; then
  echo "contract: installing the tools from npm"
  cp tests/contract/package.json tests/contract/package-lock.json "$tools"
  npm ci --prefix "$tools" --ignore-scripts --no-audit --no-fund --loglevel=error
  cp tests/contract/package-lock.json "$tools/installed.json"
fi
"$tools/node_modules/.bin/redocly" lint --config tests/contract/redocly.yaml docs/api/openapi.yaml \
  tests/contract/lab_server.arazzo.yaml
tests/contract/check.mjs "$programs"
tests/contract/check_test.mjs "$programs"
