#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Times whole runs of ktbake, two kinds of bake in turns, and says whether the limits below hold.

    ktBenchmarkBakes.py --ktbake build/release/bin/ktbake --models FOLDER --assembly assembly.glb

preview:  a bake with a preview of 1280 x 960 and one without. Limit: seconds more, for the duck and the engine.
fit:      a bake with --fit surface, the default, and one with --fit vertices. Limit: the ratio, for bunny, engine and assembly.
refined:  a bake that refines the truck with two bounces, and a bake of the refined file without refinement. Limit: the ratio.

FOLDER holds CesiumMilkTruck.glb and stanford-bunny.obj; the other models are those of Debian's package assimp-testmodels.
ktBenchmarkHemisphere --save-assembly assembly.glb writes the assembly of 5 million triangles. A model that is not there is
named, and its limit is not counted as kept. Each limit compares the medians of all runs. The machine must be idle: the
script says so if it is not. The last column is the same comparison of processor time, which says more on a busy machine.
Exit code 0: all limits hold; 1: not all."""

import argparse
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

SAMPLES = "/usr/share/assimp/models"
BUSY = 0.5  # load of the machine before a measurement, above which times say little
REFINED = ["--bounces", "2", "--ground-plane", "--subdivide"]


class Comparison:
    """Two bakes of a scene, and the limit that their times keep. A limit is a number of seconds or a ratio."""

    def __init__(self, topic, name, scene, first, second, limit, is_ratio, repeats):
        self.topic, self.name, self.scene = topic, name, scene
        self.first, self.second = first, second
        self.limit, self.is_ratio, self.repeats = limit, is_ratio, repeats

    def value(self, first, second):
        return first / second if self.is_ratio else first - second


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--ktbake", default="ktbake", help="the program to measure")
    parser.add_argument("--models", default=".", help="folder with CesiumMilkTruck.glb and stanford-bunny.obj")
    parser.add_argument("--samples", default=SAMPLES, help="folder of assimp's test models")
    parser.add_argument("--assembly", default="assembly.glb")
    parser.add_argument("--only", action="append", choices=("preview", "fit", "refined"), help="may be repeated")
    parser.add_argument("--repeats", type=int, default=5, help="runs of each bake; 3 at most for the assembly")
    parser.add_argument("--threads", type=int, default=0, help="0: one per core")
    return parser.parse_args()


def comparisons(arguments, folder):
    truck = os.path.join(arguments.models, "CesiumMilkTruck.glb")
    bunny = os.path.join(arguments.models, "stanford-bunny.obj")
    engine = os.path.join(arguments.samples, "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb")
    duck = os.path.join(arguments.samples, "Collada/duck.dae")
    preview = ["--preview", os.path.join(folder, "preview.png"), "--preview-size", "1280x960"]
    vertices = ["--fit", "vertices"]
    refined = os.path.join(folder, "refined.glb")
    repeats = arguments.repeats
    return [
        Comparison("preview", "duck", duck, preview, [], 0.7, False, repeats),
        Comparison("preview", "engine", engine, preview, [], 1.5, False, repeats),
        Comparison("fit", "bunny", bunny, [], vertices, 1.5, True, repeats),
        Comparison("fit", "engine", engine, [], vertices, 1.5, True, repeats),
        Comparison("fit", "assembly", arguments.assembly, [], vertices, 1.5, True, min(repeats, 3)),
        # The second bake reads the file that the first one wrote.
        Comparison("refined", "truck", truck, REFINED + ["-o", refined], [refined, "--bounces", "2"], 3.0, True, repeats),
    ]


def times():
    children = resource.getrusage(resource.RUSAGE_CHILDREN)
    return [time.perf_counter(), children.ru_utime + children.ru_stime]


def run(arguments, folder, options):
    """Seconds of one run of ktbake: on the clock, and of the processors."""
    command = [arguments.ktbake] + options + ["--quiet"]
    if "-o" not in options:
        command += ["-o", os.path.join(folder, "out.glb")]
    if arguments.threads:
        command += ["--threads", str(arguments.threads)]
    start = times()
    done = subprocess.run(command, env=dict(os.environ, KT_PREFERENCES_DIR=os.path.join(folder, "preferences", "")),
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
    seconds = [end - begin for end, begin in zip(times(), start)]
    if done.returncode != 0:
        sys.exit("%s failed:\n%s" % (" ".join(command), done.stderr))
    return seconds


def measure(arguments, folder, comparison):
    """Prints a row. Returns whether the limit holds."""
    if not os.path.exists(comparison.scene):
        print("%-8s %-9s not measured: there is no file %s" % (comparison.topic, comparison.name, comparison.scene))
        return False
    first = [comparison.scene] + comparison.first
    second = comparison.second if comparison.topic == "refined" else [comparison.scene] + comparison.second
    runs = ([], [])
    run(arguments, folder, first)  # fills the file cache, and writes what a second bake reads
    for _ in range(comparison.repeats):
        runs[0].append(run(arguments, folder, first))
        runs[1].append(run(arguments, folder, second))
    clock, processors = [[statistics.median(run[kind] for run in bakes) for bakes in runs] for kind in range(2)]
    value = comparison.value(*clock)
    spread = [comparison.value(a[0], b[0]) for a, b in zip(*runs)]
    holds = value <= comparison.limit
    unit = "x" if comparison.is_ratio else "s"
    print("%-8s %-9s %8.2f s %8.2f s  %6.2f %s (%.2f to %.2f)  limit %.1f %s  %-14s processors %.2f %s" % (
        comparison.topic, comparison.name, clock[0], clock[1], value, unit, min(spread), max(spread), comparison.limit, unit,
        "holds" if holds else "DOES NOT HOLD", comparison.value(*processors), unit), flush=True)
    return holds


def main():
    arguments = parse()
    if not shutil.which(arguments.ktbake):
        sys.exit("%s cannot be run; build it, or name it with --ktbake" % arguments.ktbake)
    load = os.getloadavg()[0]
    if load > BUSY:
        print("The load of the machine is %.1f: these times say little." % load)
    print("Median of %d runs in turns: the bake, the bake that it is compared with, ratio or seconds more" % arguments.repeats)
    with tempfile.TemporaryDirectory() as folder:
        chosen = [c for c in comparisons(arguments, folder) if not arguments.only or c.topic in arguments.only]
        kept = [measure(arguments, folder, comparison) for comparison in chosen]
    print("%d of %d limits hold; load of the machine at the end: %.1f %.1f %.1f" % ((sum(kept), len(kept)) + os.getloadavg()))
    return 0 if all(kept) else 1


if __name__ == "__main__":
    sys.exit(main())
