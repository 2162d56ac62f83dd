#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Bakes the scenes of a list on one machine, several processes at once. Arguments after the folder go to ktbake.
#
#     Examples/ManyScenes/xargs.sh scenes.txt baked --shadow-quality 3
#
# JOBS is the number of processes, by default one for four cores. The cores are shared among them. Scenes that are up to
# date are left out, so that an interrupted run goes on. The exit code is 1 if a scene failed.
set -u -o pipefail
list=$1 folder=$2
shift 2
cores=$(nproc)
jobs=${JOBS:-$(((cores + 3) / 4))}
threads=$(((cores + jobs - 1) / jobs))

# Names are divided by lines, so that they may contain spaces. Each process bakes up to 20 scenes.
grep -v -e '^#' -e '^[[:space:]]*$' "$list" | tr -d '\r' | tr '\n' '\0' |
    xargs -0 -P "$jobs" -n 20 "${KTBAKE:-ktbake}" --output-folder "$folder" --update --threads "$threads" "$@" -- || exit 1
