#!/usr/bin/env bash
# The main job: builds everything, seeds a fresh demo machine (a private Wine
# prefix with the product installed for Russian and Ukrainian, Word, Excel and
# Access 97 and 2000), surveys its hosts, attaches the Editor's, Word 97's and
# Word 2000's Russian spellers and surveys again.
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
step "kvilhosts attach WW90 speller ru"
"$run" "$bin/kvilhosts.exe" attach WW90 speller ru
step "Office 2000's Russian speller engine as the Installer now hands it out"
"$run" reg query 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\UserData\S-1-5-18\Components\CEF3839E23492D1109A00008F5B92110'
step "kvilhosts list"
"$run" "$bin/kvilhosts.exe" list
