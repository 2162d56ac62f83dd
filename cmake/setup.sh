# SPDX-License-Identifier: LGPL-2.1-or-later
# shellcheck shell=bash
# Shared by ./bake, ./studio and ./test (bash): installs missing packages, then configures and builds quietly.
# Uses only Debian packages and does not change the package sources.
# Every message goes to standard error.

kt_root=$(cd -P "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

kt_say() { printf '%s\n' "$*" >&2; }
kt_fail() { kt_say "$@"; exit 1; }

# kt_packages USE...: prints the packages of cmake/packages.txt whose second column is one of the words.
kt_packages() {
    awk -v uses=" $* " '!/^[[:space:]]*(#|$)/ && index(uses, " " $2 " ") { print $1 }' "$kt_root/cmake/packages.txt"
}

# kt_missing PACKAGE...: prints those that are not installed.
kt_missing() {
    local package
    for package; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || printf '%s\n' "$package"
    done
}

# Runs apt-get as root, without questions. Waits while another package manager runs.
kt_apt_get() {
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=600 "$@"
}

# kt_install PACKAGE...: installs packages. Fetches the package lists first if a package is not in them, and again if
# they are too old to install from.
kt_install() {
    local package
    for package; do
        if [ -z "$(apt-cache madison "$package" 2>/dev/null)" ]; then
            kt_apt_get update || return
            kt_apt_get install --no-install-recommends "$@"
            return
        fi
    done
    kt_apt_get install --no-install-recommends "$@" && return
    kt_apt_get update && kt_apt_get install --no-install-recommends "$@"
}

# kt_setup USE...: installs the packages for these uses, or ends with a message.
kt_setup() {
    local packages missing log status=0
    mapfile -t packages < <(kt_packages "$@")
    command -v dpkg-query >/dev/null ||
        kt_fail "This script installs Debian packages. On another system, install the equivalents of: ${packages[*]}" \
            "and build with CMake; see README.md."
    mapfile -t missing < <(kt_missing "${packages[@]}")
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
        kt_fail "Packages are missing, and installing them needs root. As root, run:" \
            "  apt-get install --no-install-recommends ${missing[*]}"
    fi
    mkdir -p "$kt_root/build"
    log="$kt_root/build/packages.log"
    kt_say "Installing ${#missing[@]} packages and what they need: ${missing[*]}"
    kt_install "${missing[@]}" </dev/null >"$log" 2>&1 || status=$?
    if [ "$status" -ne 0 ]; then
        tail -n 20 "$log" >&2
        kt_fail "Could not install the packages. Full log: $log"
    fi
}

# kt_configure BUILD OPTION...: configures the build folder with CMake, the first time or if the checkout has moved.
kt_configure() {
    local build=$1 home
    shift
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt" 2>/dev/null)
    [ -z "$home" ] || [ "$home" = "$kt_root" ] || rm -rf "$build/CMakeCache.txt" "$build/CMakeFiles"
    # build.ninja is written last. A folder without it was never fully configured, and files from the interrupted run
    # would mislead the next one.
    [ -f "$build/build.ninja" ] && [ -f "$build/CMakeCache.txt" ] && return
    rm -rf "$build/CMakeCache.txt" "$build/CMakeFiles"
    cmake -S "$kt_root" -B "$build" -G Ninja -DKT_JOIN_SOURCES=ON "$@"
}

# On a terminal: shows the last line of the build output in place of the previous one.
kt_show_progress() {
    local line
    while IFS= read -r line; do
        case $line in '['*) printf '\r\033[K%.79s' "$line" >&2 ;; esac
    done
    printf '\r\033[K' >&2
}

# kt_build BUILD TARGETS OPTION...: brings the targets (one word, divided by spaces) up to date. The output goes to a log
# file; its end is shown if the build fails.
kt_build() {
    local build=$1 targets log="$1/build.log"
    read -ra targets <<<"$2"
    shift 2
    mkdir -p "$build"
    exec 9>"$build/.lock"
    flock 9
    [ -f "$build/.built" ] || kt_say "Building in $build; the first time takes some minutes."
    if ! {
        kt_configure "$build" "$@" &&
            cmake --build "$build" --target "${targets[@]}" --parallel "$(nproc)"
    } 9>&- 2>&1 </dev/null | tee "$log" | if [ -t 2 ]; then kt_show_progress; else cat >/dev/null; fi; then
        tail -n 60 "$log" >&2
        kt_fail "The build failed. Full log: $log"
    fi
    touch "$build/.built"
    exec 9>&-
}
