#!/usr/bin/env bash
# Configures and builds everything (library, tools, tests) into build/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default
