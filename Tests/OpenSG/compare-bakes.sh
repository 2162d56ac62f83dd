#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# Bakes scenes with the ktbake of two builds, for example of both scene graphs, and compares the files byte for byte:
#     Tests/OpenSG/compare-bakes.sh build/test/bin/ktbake build/opensg/bin/ktbake SCENE...
# The room and the car of Examples/scenes.py are baked besides. KT_BAKE_OPTIONS are added to each bake.
set -u -o pipefail
root=$(cd -P "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
[ $# -ge 2 ] || { echo "usage: $0 KTBAKE KTBAKE [SCENE...]" >&2; exit 2; }
programs=("$1" "$2")
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
python3 "$root/Examples/scenes.py" "$work" >/dev/null || exit
read -ra added <<<"${KT_BAKE_OPTIONS:-}"
bakes=0 different=0

# compare SCENE OPTION...: bakes with both programs.
compare() {
    local scene=$1 i
    shift
    bakes=$((bakes + 1))
    for i in 0 1; do
        "${programs[i]}" "$scene" "$@" "${added[@]}" -q -o "$work/$i.glb" ||
            echo "FAILED: ${programs[i]} $scene $*" # leaves no file, so the comparison fails, too
    done
    if cmp -s "$work/0.glb" "$work/1.glb"; then
        echo "equal: $(basename "$scene") $*"
    else
        different=$((different + 1))
        echo "DIFFERENT: $(basename "$scene") $*"
    fi
    rm -f "$work/0.glb" "$work/1.glb"
}

compare "$work/room.glb" --mode light-and-shadows --bounces 2 --color-bleeding --no-override-color
compare "$work/car.glb" --subdivide --min-edge-length 80
compare "$work/car.glb" --ground-plane --subdivide --min-edge-length 80
for scene; do
    compare "$scene"
    compare "$scene" --fit vertices --mode shadows
    compare "$scene" --ground-plane
    compare "$scene" --subdivide --min-edge-length 200 --no-indirect
done
echo "$bakes bakes, $different different"
[ $different -eq 0 ]
