#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Bakes the scenes of a list as a Slurm job array. Each task takes every n-th line. Arguments after the folder go to
# ktbake.
#
#     sbatch --array=0-9 --cpus-per-task=8 Examples/ManyScenes/slurm.sh scenes.txt baked --shadow-quality 3
#
# The list, the scenes and the folder must be on a file system that all nodes see. Scenes that are up to date are left
# out, so that the same command goes on after a failure. A task fails if one of its scenes fails.
#SBATCH --job-name=ktbake
#SBATCH --output=ktbake-%A_%a.log
set -u -o pipefail
list=$1 folder=$2
shift 2
first=${SLURM_ARRAY_TASK_MIN:-0}
mine=$(mktemp "${TMPDIR:-/tmp}/ktbake-scenes-XXXXXX") || exit 1
trap 'rm -f "$mine"' EXIT

grep -v -e '^#' -e '^[[:space:]]*$' "$list" |
    awk -v task="$((SLURM_ARRAY_TASK_ID - first))" -v tasks="$SLURM_ARRAY_TASK_COUNT" 'NR % tasks == task' >"$mine"
[ -s "$mine" ] || { echo "More tasks than scenes: nothing to do."; exit 0; }
"${KTBAKE:-ktbake}" "@$mine" --output-folder "$folder" --update --threads "${SLURM_CPUS_PER_TASK:-1}" "$@"
