#!/usr/bin/env bash
# Builds the library and the survey tool and packs them, with the C header, the
# module-definition file and the docs, into build/kvilintg-<version>-win64.zip.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target package
