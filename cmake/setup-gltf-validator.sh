#!/bin/sh
# SPDX-License-Identifier: LGPL-2.1-or-later
# setup-gltf-validator.sh FOLDER: puts the official glTF validator into FOLDER/node_modules, with this machine's npm.
# Tests/Bake/Validator/package-lock.json names its version and checksum. Nothing is installed on the system. A second
# call returns at once. On failure, prints the reason and ends with exit code 1.
set -eu

folder=${1:?usage: setup-gltf-validator.sh FOLDER}
wanted=$(cd "$(dirname "$0")/../Tests/Bake/Validator" && pwd)

fail() { echo "glTF validator: not available: $*"; exit 1; }

if [ -e "$folder/done" ] && cmp -s "$wanted/package-lock.json" "$folder/package-lock.json"; then
    command -v node >/dev/null || fail "node is no longer installed"
    exit 0
fi
# Debian's npm brings about 370 packages along. That is too many to install for one test without being asked.
command -v node >/dev/null && command -v npm >/dev/null ||
    fail "node and npm are not installed; on Debian: apt-get install --no-install-recommends npm"
mkdir -p "$folder"
rm -f "$folder/done"
cp "$wanted/package.json" "$wanted/package-lock.json" "$folder"
(cd "$folder" && npm ci --ignore-scripts --no-audit --no-fund --fetch-retries=1 --fetch-timeout=20000 \
    --fetch-retry-mintimeout=1000 --fetch-retry-maxtimeout=5000 >setup.log 2>&1) ||
    fail "npm could not install it (see $folder/setup.log)"
touch "$folder/done"
echo "glTF validator: ready in $folder"
