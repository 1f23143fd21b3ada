#!/usr/bin/env bash
# Builds the library and runs every test under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh
ctest --preset default
