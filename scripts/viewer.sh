#!/usr/bin/env bash
# Fetches the library of the report's viewer with npm, wherever that gets its packages from: one
# script of one package, of the version and with the checksums pinned here. Program and report work
# without it, so that nothing fails where npm is not installed or reaches nothing.
set -euo pipefail
cd "$(dirname "$0")/.."

package=@niivue/niivue@0.69.0
archiveSum=60c8d0bc9803d56d9bec3ba8c64c250b85716eb80878f449e6ac90cd72b18b6bf6301560dbce4ffc2210ca0e3aa030c60c871a3656ddf8c86d3bf79d31b5c990
scriptSum=37dc9688207bcb81b39afe18628488970cecf5f6b3601941508a51c839aeb63ee38cc023405fd9bd2e634a01a71616eb6d50e6a73410739f6d914a978d11267f
library=external/niivue/niivue.js

isThere() { # SUM FILE
  echo "$1  $2" | sha512sum --check --status 2>/dev/null
}
without() { # REASON
  echo "Reports of this build will have no viewer: $1" >&2
  exit 0
}

isThere "$scriptSum" "$library" && exit 0
rm -f "$library"
command -v npm >/dev/null || without "npm, which fetches its library, is not installed"
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
timeout 60 npm pack --silent --pack-destination "$folder" "$package" >/dev/null 2>&1 ||
  without "npm cannot fetch $package"
archive=$(echo "$folder"/*.tgz)
if ! isThere "$archiveSum" "$archive"; then
  echo "$package is not what it was: its checksum differs from that in scripts/viewer.sh" >&2
  exit 1
fi
tar -xzf "$archive" -C "$folder" package/dist/niivue.umd.js
mkdir -p "$(dirname "$library")"
mv "$folder/package/dist/niivue.umd.js" "$library"
