#!/usr/bin/env bash
# The main job: builds everything, seeds a fresh demo machine (a private Wine
# prefix laid out as 64-bit Windows with 32-bit programs: the product installed
# for Russian and Ukrainian, Word, Excel and Access 97 and 2000, FrontPage 2000,
# Word, Excel and Outlook 2010, CorelDRAW 6, InDesign CS6, LibreOffice 4,
# Firefox 2, Windows Live Mail, their keys in the 32-bit registry view and their
# folders under "C:\Program Files (x86)"), surveys its hosts, attaches the
# Editor's, Word 97's, Word 2000's, CorelDRAW's, InDesign's and LibreOffice's
# Russian spellers and Word 2010's Russian grammar checker, shows with reg.exe
# where the changes landed, and surveys again.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/build.sh

export KVIL_WINEPREFIX="$PWD/build/demo-prefix"
rm -rf "$KVIL_WINEPREFIX" "$KVIL_WINEPREFIX.lock"
run=build/wine-run
bin=build/bin
drive_c="$KVIL_WINEPREFIX/drive_c"
programs="$drive_c/Program Files (x86)"
product='C:\Program Files (x86)\Kvil'

step() { printf '\n== %s\n' "$*"; }
step "seeding the demo machine"
"$run" "$bin/kvildemo.exe" seed
step "kvilhosts list"
"$run" "$bin/kvilhosts.exe" list
step "kvilhosts attach Editor speller ru"
"$run" "$bin/kvilhosts.exe" attach Editor speller ru
step "kvilhosts attach WW80 speller ru, with the journal of every change"
"$run" "$bin/kvilhosts.exe" attach WW80 speller ru --journal
# 32-bit Word reads the 32-bit view, where the journal says the registration
# landed; the 64-bit view holds none.
step "Word 97's Russian speller registration, in the 32-bit view"
"$run" reg query 'HKLM\SOFTWARE\WOW6432Node\Microsoft\Shared Tools\Proofing Tools\Spelling\1049\Normal'
step "the same key in the 64-bit view"
"$run" reg query 'HKLM\SOFTWARE\Microsoft\Shared Tools\Proofing Tools\Spelling\1049\Normal' /reg:64 || true
step "kvilhosts attach WW90 speller ru"
"$run" "$bin/kvilhosts.exe" attach WW90 speller ru
step "Office 2000's Russian speller engine as the Installer now hands it out (the Installer's data is in the 64-bit view)"
"$run" reg query 'HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\UserData\S-1-5-18\Components\CEF3839E23492D1109A00008F5B92110' /reg:64
step "Word 2000's attachment record, in the product's 32-bit view"
"$run" reg query 'HKLM\SOFTWARE\Tervane\Kvil\8.0\Products\WINWORD\9.0\Spelling\1049' /reg:32
step "kvilhosts attach WW14 grammar ru, saving the added-files list"
"$run" "$bin/kvilhosts.exe" attach WW14 grammar ru --added-files "$product"
office14="$programs/Microsoft Office/Office14"
step "Word 2010's proofing-tool module is the product's, Office's own kept beside it"
ls -l "$office14"
cmp "$office14/msproof7.dll" "$programs/Kvil/kvilproof.dll" && echo "msproof7.dll = kvilproof.dll"
# The product's entry is written without the list's closing NUL, as Office has
# always been given it; reg shows such a list with its last letter cut off.
step "Office 2010's Russian grammar list now names the product alone; the whole list is kept"
"$run" reg query 'HKCR\Installer\Components\841D7D937A947D641B95375D7377D30F' /reg:64
step "the added-files list"
cat "$programs/Kvil/addfiles.xml"; echo
step "kvilhosts attach CDRW60 speller ru"
"$run" "$bin/kvilhosts.exe" attach CDRW60 speller ru
step "CorelDRAW's speller module is the product's, Corel's own kept as cdrtpr60.org"
ls -l "$drive_c/Corel60/Programs"
step "kvilhosts attach InDesign8 speller ru (InDesign answers 0 when it ran)"
"$run" "$bin/kvilhosts.exe" attach InDesign8 speller ru || true
step "InDesign CS6's plug-in folder"
ls -lR "$programs/Adobe/Adobe InDesign CS6/Plug-ins/Tervane"
step "kvilhosts attach LibreOffice4 speller ru, saving the added-files list"
"$run" "$bin/kvilhosts.exe" attach LibreOffice4 speller ru --added-files "$product"
step "LibreOffice's extension tree now holds the product's extension"
ls -R "$programs/LibreOffice 4/share/extensions"
step "the added-files list, with LibreOffice's UNO module appended"
cat "$programs/Kvil/addfiles.xml"; echo
step "kvilhosts list"
"$run" "$bin/kvilhosts.exe" list
