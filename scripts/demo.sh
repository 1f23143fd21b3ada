#!/usr/bin/env bash
# The main job: builds everything, seeds a fresh demo machine (a private Wine
# prefix with the product installed for Russian and Ukrainian, Word 97, Excel 97
# and Access 97), surveys its hosts, attaches the Editor's and Word 97's Russian
# spellers and surveys again.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh

export KVIL_WINEPREFIX="$PWD/build/demo-prefix"
rm -rf "$KVIL_WINEPREFIX" "$KVIL_WINEPREFIX.lock"
run=build/wine-run
bin=build/bin

step() { printf '\n== %s\n' "$*"; }
step "seeding the demo machine"
"$run" "$bin/kvildemo.exe" seed
step "kvilhosts list"
"$run" "$bin/kvilhosts.exe" list
step "kvilhosts attach Editor speller ru"
"$run" "$bin/kvilhosts.exe" attach Editor speller ru
step "kvilhosts attach WW80 speller ru"
"$run" "$bin/kvilhosts.exe" attach WW80 speller ru
step "kvilhosts list"
"$run" "$bin/kvilhosts.exe" list
