#!/usr/bin/env bash
# Installs what the build needs on Debian 12, skipping what is already there.
set -euo pipefail
needed=(g++-mingw-w64-x86-64-posix wine64 cmake ninja-build googletest libcli11-dev util-linux msitools wixl)
missing=()
for pkg in "${needed[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' || missing+=("$pkg")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo=sudo
  $sudo apt-get update -q
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
