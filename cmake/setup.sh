# SPDX-License-Identifier: LGPL-2.1-or-later
# shellcheck shell=bash
# Shared by ./bake and ./test (bash): installs the packages that are missing, then configures and builds quietly.
# Nothing but the distribution's own packages is used, and the package sources are left as they are.
# Every message goes to standard error.

kt_root=$(cd -P "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

kt_say() { printf '%s\n' "$*" >&2; }
kt_fail() { kt_say "$@"; exit 1; }

# kt_packages USE...: the packages of cmake/packages.txt whose second column is one of the words.
kt_packages() {
    awk -v uses=" $* " '!/^[[:space:]]*(#|$)/ && index(uses, " " $2 " ") { print $1 }' "$kt_root/cmake/packages.txt"
}

# kt_missing PACKAGE...: those that are not installed.
kt_missing() {
    local package
    for package; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || printf '%s\n' "$package"
    done
}

# Runs apt-get as root, without questions; waits for another package manager that is at work.
kt_apt_get() {
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=600 "$@"
}

# kt_install PACKAGE...: installs them from the package lists at hand, which are fetched when they do not know a package
# or have grown too old to be installed from.
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

# kt_setup USE...: makes sure that the packages for these uses are installed, or ends with a message.
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
        kt_fail "The packages could not be installed. All of it: $log"
    fi
}

# kt_configure BUILD OPTION...: configures the build folder with CMake, the first time or when the checkout has moved.
kt_configure() {
    local build=$1 home
    shift
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$build/CMakeCache.txt" 2>/dev/null)
    [ -z "$home" ] || [ "$home" = "$kt_root" ] || rm -rf "$build/CMakeCache.txt" "$build/CMakeFiles"
    # build.ninja is written last, so a folder without it was never configured to the end: what an interrupted run left
    # behind there misleads the next one.
    [ -f "$build/build.ninja" ] && [ -f "$build/CMakeCache.txt" ] && return
    rm -rf "$build/CMakeCache.txt" "$build/CMakeFiles"
    cmake -S "$kt_root" -B "$build" -G Ninja "$@"
}

# On a terminal, the last line of a build's output in place of the one before.
kt_show_progress() {
    local line
    while IFS= read -r line; do
        case $line in '['*) printf '\r\033[K%.79s' "$line" >&2 ;; esac
    done
    printf '\r\033[K' >&2
}

# kt_build BUILD TARGET OPTION...: brings the target up to date. What the tools say goes to a log file, which is shown
# when they fail.
kt_build() {
    local build=$1 target=$2 log="$1/build.log"
    shift 2
    mkdir -p "$build"
    exec 9>"$build/.lock"
    flock 9
    [ -f "$build/.built" ] || kt_say "Building in $build; the first time takes some minutes."
    if ! {
        kt_configure "$build" "$@" &&
            cmake --build "$build" --target "$target" --parallel "$(nproc)"
    } 9>&- 2>&1 </dev/null | tee "$log" | if [ -t 2 ]; then kt_show_progress; else cat >/dev/null; fi; then
        tail -n 60 "$log" >&2
        kt_fail "The build failed. All of it: $log"
    fi
    touch "$build/.built"
    exec 9>&-
}
