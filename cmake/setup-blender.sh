#!/bin/sh
# SPDX-License-Identifier: LGPL-2.1-or-later
# setup-blender.sh FOLDER: makes FOLDER/blender, a program that starts Blender. If Blender is not installed, unpacks Debian's
# package and what it needs into FOLDER/root. Installs nothing on the system and needs no root rights.
# A second call returns at once. On failure, prints the reason and ends with exit code 1.
set -eu

folder=${1:?usage: setup-blender.sh FOLDER}
mkdir -p "$folder/debs"
folder=$(cd "$folder" && pwd)
log=$folder/setup.log

say() { echo "blender: $*"; }
fail() { say "not available: $*"; exit 1; }

[ ! -e "$folder/blender" ] || exit 0

if program=$(command -v blender); then
    ln -s "$program" "$folder/blender"
    say "the installed $program"
    exit 0
fi

packages=$(apt-get install --simulate --no-install-recommends blender 2>"$log" | awk '$1 == "Inst" { print $2 }') ||
    fail "apt-get knows no package blender; apt-get update may help (see $log)"
say "downloading $(echo "$packages" | wc -l) packages"
(cd "$folder/debs" && apt-get -q -o APT::Sandbox::User="" download $packages >>"$log" 2>&1) ||
    fail "could not download the packages (see $log)"
say "unpacking"
for file in "$folder"/debs/*.deb; do dpkg-deb -x "$file" "$folder/root"; done

# All folders with libraries: some are found through links that only an installation makes.
libraries=$(cd "$folder/root" && find usr/lib -name '*.so*' ! -path '*/python3*' ! -path '*/blender/*' -printf "$folder/root/%h\n" |
    sort -u | paste -s -d :)
cat >"$folder/blender.new" <<RUN
#!/bin/sh
# Starts the unpacked Blender.
export LD_LIBRARY_PATH="$libraries\${LD_LIBRARY_PATH:+:\$LD_LIBRARY_PATH}"
export BLENDER_SYSTEM_SCRIPTS="$folder/root/usr/share/blender/scripts"
export BLENDER_SYSTEM_DATAFILES="$folder/root/usr/share/blender/datafiles"
exec "$folder/root/usr/bin/blender" "\$@"
RUN
chmod +x "$folder/blender.new"
"$folder/blender.new" --background --factory-startup --version >>"$log" 2>&1 || fail "the unpacked Blender does not start (see $log)"
rm -rf "$folder/debs"
mv "$folder/blender.new" "$folder/blender"
say "ready in $folder"
