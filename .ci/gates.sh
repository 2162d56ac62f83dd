# SPDX-License-Identifier: LGPL-2.1-or-later
# shellcheck shell=bash
# Shared by the gates. A gate checks one thing, prints one line about it and ends with exit code 1 if it fails. Details go
# to standard error and to a log file in the gate's build folder.
. "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../cmake/setup.sh"

kt_git() { git -C "$kt_root" -c safe.directory="$kt_root" "$@"; }

# kt_base: the commit that new work is compared with; prints nothing if the history does not reach back far enough.
# KT_BASE names it. Otherwise it is where this branch left main. On main itself it is the last commit that is more than
# three hours older than HEAD, so that it contains the last landing.
kt_base() {
    local main base
    if [ -n "${KT_BASE:-}" ]; then
        kt_git rev-parse --verify --quiet "$KT_BASE^{commit}" || kt_fail "KT_BASE names no commit: $KT_BASE"
        return
    fi
    for main in main origin/main; do
        base=$(kt_git merge-base "$main" HEAD 2>/dev/null) || continue
        [ "$base" = "$(kt_git rev-parse HEAD)" ] || { printf '%s\n' "$base"; return; }
    done
    kt_git rev-list -1 --before=$(($(kt_git log -1 --format=%ct 2>/dev/null || echo 0) - 3 * 3600)) HEAD 2>/dev/null
}

# kt_cpp_files: the C++ files of this tree, without build folders.
kt_cpp_files() {
    if kt_git rev-parse --git-dir >/dev/null 2>&1; then
        kt_git ls-files --cached --others --exclude-standard '*.cpp' '*.h' '*.inl'
    else
        (cd "$kt_root" && find . -name 'build*' -prune -o \( -name '*.cpp' -o -name '*.h' -o -name '*.inl' \) -print)
    fi | (cd "$kt_root" && while IFS= read -r file; do [ ! -f "$file" ] || printf '%s\n' "$file"; done)
}

# kt_changed_files BASE: files that are new or changed since BASE, the latest first. A file that only moved does not count.
kt_changed_files() {
    {
        kt_git ls-files --others --exclude-standard
        kt_git diff --name-only --diff-filter=d HEAD
        kt_git log --name-status -M --diff-filter=d --format= "$1..HEAD" | awk -F '\t' '$1 != "R100" { print $NF }'
    } | awk '!seen[$0]++' | (cd "$kt_root" && while IFS= read -r file; do [ ! -f "$file" ] || printf '%s\n' "$file"; done)
}

# The folder that clang builds in. Without precompiled headers and joined sources, each file has to include what it uses.
kt_clang_build=$kt_root/build/gate-clang
kt_clang_options=(-DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0
    -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DKT_JOIN_SOURCES=OFF)

# kt_sanitize NAME SANITIZERS TARGETS: builds the targets with gcc's sanitizers in build/gate-NAME.
kt_sanitize() {
    kt_build "$kt_root/build/gate-$1" "$3" -DKT_SANITIZE="$2" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1" -DKT_BUILD_BENCHMARKS=OFF
}

# Tests that no sanitizer runs. An import forks while other threads of the window run. What gcc 12's sanitizers allocate with
# may be locked by one of them then, so the copy waits for ever. (The C library's own allocator is prepared for that.)
# shellcheck disable=SC2034 # gates use it
kt_window_imports="StudioFileWatch.GivenImported|StudioOpening.Given(File|Several)"
kt_window_imports+="|StudioRunState.GivenFirstGeometry|StudioSceneFiles.GivenCrease"

# kt_run_tests NAME ARGUMENT...: runs tests of build/gate-NAME; the arguments go to ctest. Prints how many passed, or shows
# the failures and returns 1.
kt_run_tests() {
    local log="$kt_root/build/gate-$1/tests.log" passed
    if (cd "$kt_root/build/gate-$1" && ctest -j"$(nproc)" --output-on-failure --no-tests=error "${@:2}") >"$log" 2>&1; then
        passed=$(sed -n 's/^100% tests passed.* out of \([0-9]*\)$/\1/p' "$log")
        printf '%s\n' "${passed:-0}"
    else
        grep -vE ' Passed |^ +Start ' "$log" | tail -n 120 >&2
        kt_say "Full log: $log"
        return 1
    fi
}
