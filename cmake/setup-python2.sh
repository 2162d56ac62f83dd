#!/bin/sh
# SPDX-License-Identifier: LGPL-2.1-or-later
# setup-python2.sh FOLDER: unpacks Python 2.7 with its development files into FOLDER/root and builds Boost.Python for it
# into FOLDER/lib. Installs nothing on the system, adds no package source, needs no root rights.
# The packages come from the previous stable suite, through the mirror in this system's package sources, with a private
# apt configuration. Boost.Python comes from Debian's boost source package. Prints one line per step. A second call
# returns at once. On failure, prints the reason and ends with exit code 1.
set -eu

folder=${1:?usage: setup-python2.sh FOLDER}
mkdir -p "$folder"
folder=$(cd "$folder" && pwd)
previous_suite=bullseye
boost_source=boost1.74
packages="libpython2.7-minimal python2.7-minimal libpython2.7-stdlib python2.7 libpython2.7 libpython2.7-dev python2.7-dev
          libffi7 libssl1.1"
optional="libffi7 libssl1.1"

say() { echo "python 2.7: $*"; }
fail() { say "not available: $*"; exit 1; }

[ -e "$folder/done" ] && exit 0

# The first package source of this system's suite: its URI and, if given, the key file.
# Reads both file formats: one-line (*.list) and stanzas (*.sources).
find_mirror() {
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
    for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        [ -r "$list" ] && cat "$list"
    done 2>/dev/null | awk -v suite="$codename" '
        $1 == "deb" {
            key = ""; i = 2
            if ($2 ~ /^\[/) {
                for (; i <= NF; i++) {
                    if (match($i, /signed-by=[^] ]+/)) key = substr($i, RSTART + 10, RLENGTH - 10)
                    if ($i ~ /\]$/) { i++; break }
                }
            }
            if ($(i + 1) == suite) { print $i, key; exit }
        }'
    for list in /etc/apt/sources.list.d/*.sources; do
        [ -r "$list" ] && { cat "$list"; echo; }
    done 2>/dev/null | awk -v suite="$codename" '
        function flush() { if (uri != "" && found && types ~ /(^| )deb( |$)/ && enabled) { print uri, key; exit } }
        function reset() { uri = ""; key = ""; found = 0; types = ""; enabled = 1 }
        BEGIN { reset() }
        /^[ \t]*$/ { flush(); reset(); next }
        /^#/ { next }
        tolower($1) == "types:" { types = $0; sub(/^[^:]*:/, "", types); next }
        tolower($1) == "uris:" { uri = $2; next }
        tolower($1) == "suites:" { for (i = 2; i <= NF; i++) if ($i == suite) found = 1; next }
        tolower($1) == "signed-by:" { if ($2 ~ /^\//) key = $2; next }
        tolower($1) == "enabled:" { if (tolower($2) == "no") enabled = 0; next }
        END { flush() }'
}

set -- $(find_mirror | head -n 1)
[ $# -ge 1 ] || fail "no package source is configured for this system's suite"
mirror=$1
key=${2:-}
[ -n "$key" ] || key=/usr/share/keyrings/debian-archive-keyring.gpg
[ -r "$key" ] && signed="[signed-by=$key] " || signed=""
codename=$(. /etc/os-release && echo "$VERSION_CODENAME")

apt=$folder/apt
mkdir -p "$apt/lists/partial" "$apt/archives/partial" "$apt/empty" "$folder/root" "$folder/lib" "$folder/boost"
: > "$apt/status"
{
    echo "deb $signed$mirror $previous_suite main"
    echo "deb-src $signed$mirror $codename main"
} > "$apt/sources.list"
private_apt() {
    apt-get -q -o Dir::Etc::sourcelist="$apt/sources.list" -o Dir::Etc::sourceparts="$apt/empty" \
        -o Dir::State::lists="$apt/lists" -o Dir::State::status="$apt/status" -o Dir::Cache="$apt" \
        -o Dir::Cache::archives="$apt/archives" -o APT::Sandbox::User="" -o Acquire::Languages=none \
        -o Debug::NoLocking=true "$@"
}

log=$folder/setup.log
say "reading the package lists of $previous_suite"
private_apt update >"$log" 2>&1 || fail "could not read the package lists (see $log)"

say "unpacking the interpreter"
download() { (cd "$apt/archives" && private_apt download "$@" >>"$log" 2>&1); }
# All at once. If that fails, one by one, to find out what is missing.
download $packages || for package in $packages; do
    download "$package" ||
        case " $optional " in
            *" $package "*) say "without $package" ;;
            *) fail "could not download the package $package (see $log)" ;;
        esac
done
for file in "$apt"/archives/*.deb; do dpkg-deb -x "$file" "$folder/root"; done

say "building Boost.Python"
(cd "$folder/boost" && private_apt source --download-only "$boost_source" >>"$log" 2>&1) ||
    fail "could not download the source package $boost_source (see $log)"
tarball=$(ls "$folder"/boost/*.orig.tar.* | grep -v asc | head -n 1)
tar -xf "$tarball" -C "$folder/boost" --wildcards --strip-components=1 '*/libs/python/src/*' ||
    fail "could not unpack the source package $boost_source"
objects=""
cat > "$folder/boost/Makefile" <<MAKE
sources := \$(shell find libs/python/src -name '*.cpp' ! -path '*/numpy/*')
objects := \$(sources:.cpp=.o)
$folder/lib/libboost_python27.so: \$(objects)
	g++ -shared -Wl,-soname,libboost_python27.so -o \$@ \$^
%.o: %.cpp
	g++ -O2 -fPIC -w -DBOOST_PYTHON_SOURCE -DBOOST_PYTHON_DYN_LINK -I$folder/root/usr/include/python2.7 -I$folder/root/usr/include -c \$< -o \$@
MAKE
make -C "$folder/boost" -j"$(nproc)" >>"$log" 2>&1 || fail "could not build Boost.Python (see $log)"
rm -rf "$folder/boost" "$apt/archives" "$apt/lists"
touch "$folder/done"
say "ready in $folder"
