#!/usr/bin/env bash
# Installs the Debian packages that building the program and the plugin needs (packages.txt), and
# those named as arguments, and fetches the library of the report's viewer; does nothing when all
# are there.
set -euo pipefail
cd "$(dirname "$0")/.."

missing=()
for package in $(cat scripts/packages.txt) "$@"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
  # Node.js that does not come from Debian brings its own, and refuses Debian's.
  [ "$package" != npm ] || ! command -v npm >/dev/null || status=installed
  [ "$status" = installed ] || missing+=("$package")
done
if [ "${#missing[@]}" -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  asRoot=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Installing packages needs root or sudo." >&2; exit 1; }
    asRoot=(sudo)
  fi
  "${asRoot[@]}" apt-get update -qq
  "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
scripts/viewer.sh
