#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Compares two ranks of one thread with one process of two threads, in turns, and says whether the limit holds.

    ktBenchmarkRanks.py --ktbake build/release/bin/ktbake --models FOLDER --assembly assembly.glb

Each scene is baked with direct light only and with two bounces. The limit: two ranks reach at least 0.95 of the rate of one
process. The rate is that of the calculation: structure, tracing and storing, as --stats gives them. The start of MPI, reading
and writing are in the column "whole".

FOLDER holds stanford-bunny.obj; the engine is one of Debian's package assimp-testmodels. ktBenchmarkHemisphere
--save-assembly assembly.glb writes the assembly of 5 million triangles. A model that is not there is named, and its limit is
not counted as kept. The machine must be idle and have two cores: the script says so if it is not idle. The last column compares the
processor time of the whole runs, which says more on a busy machine. --keep FOLDER keeps the statistics, which
ktSimulateRanks.py reads. Exit code 0: all limits hold; 1: not all."""

import argparse
import json
import os
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

LIMIT = 0.95
BUSY = 0.5  # load of the machine before a measurement, above which times say little
ENGINE = "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"
KINDS = {"direct": ["--no-indirect"], "bounces": ["--bounces", "2"]}


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--ktbake", default="ktbake", help="the program to measure")
    parser.add_argument("--mpirun", default="mpirun")
    parser.add_argument("--models", default=".", help="folder with stanford-bunny.obj")
    parser.add_argument("--samples", default="/usr/share/assimp/models", help="folder of assimp's test models")
    parser.add_argument("--assembly", default="assembly.glb")
    parser.add_argument("--scenes", nargs="+", default=["bunny", "engine", "assembly"], choices=("bunny", "engine", "assembly"))
    parser.add_argument("--kinds", nargs="+", default=list(KINDS), choices=KINDS)
    parser.add_argument("--ranks", type=int, default=2, help="of one thread; compared with one process of as many threads")
    parser.add_argument("--repeats", type=int, default=5, help="runs of each bake; 3 at most for the assembly")
    parser.add_argument("--options", default="", help="further options of ktbake, in one argument: --options=\"--shadow-quality 0\"")
    parser.add_argument("--keep", help="folder for the statistics of the last runs")
    return parser.parse_args()


def processor_seconds():
    children = resource.getrusage(resource.RUSAGE_CHILDREN)
    return children.ru_utime + children.ru_stime


def calculation_seconds(stats):
    return sum(stats["seconds"][part] for part in ("structure", "tracing", "storing"))


class Bakes:
    def __init__(self, arguments, folder):
        self.folder = folder
        self.options = arguments.options.split()
        self.environment = dict(os.environ, KT_PREFERENCES_DIR=os.path.join(folder, "preferences", ""),
                                OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
                                OMPI_MCA_rmaps_base_oversubscribe="1")
        ranks = str(arguments.ranks)
        self.ranks = [arguments.mpirun, "-n", ranks, "--bind-to", "none", arguments.ktbake, "--threads", "1"]
        self.alone = [arguments.ktbake, "--threads", ranks]

    def run(self, command, scene, options, stats_file):
        """Returns the seconds of the calculation, of the whole run, and of the processors."""
        stats_file = os.path.join(self.folder, stats_file)
        command = command + [scene, "-qo", os.path.join(self.folder, "out.glb"), "--stats", stats_file] + options + self.options
        before, begin = processor_seconds(), time.perf_counter()
        done = subprocess.run(command, env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                              check=False)
        whole, processors = time.perf_counter() - begin, processor_seconds() - before
        if done.returncode != 0:
            sys.exit("%s failed:\n%s" % (" ".join(command), done.stderr))
        with open(stats_file) as opened:
            return calculation_seconds(json.load(opened)), whole, processors


def measure(arguments, bakes, name, scene, kind):
    """Prints a row. Returns whether the limit holds."""
    if not os.path.exists(scene):
        print("%-9s %-8s not measured: there is no file %s" % (name, kind, scene))
        return False
    files = ["%s-%s-%d.json" % (name, kind, ranks) for ranks in (1, arguments.ranks)]
    bakes.run(bakes.alone, scene, KINDS[kind], files[0])  # fills the file cache
    alone, shared = [], []
    for _ in range(min(arguments.repeats, 3) if name == "assembly" else arguments.repeats):
        alone.append(bakes.run(bakes.alone, scene, KINDS[kind], files[0]))
        shared.append(bakes.run(bakes.ranks, scene, KINDS[kind], files[1]))
    if arguments.keep:
        os.makedirs(arguments.keep, exist_ok=True)
        for file in files:
            shutil.copy(os.path.join(bakes.folder, file), arguments.keep)
    medians = [[statistics.median(run[i] for run in runs) for i in range(3)] for runs in (alone, shared)]
    ratios = [a / b for a, b in zip(*medians)]
    spread = [a[0] / b[0] for a, b in zip(alone, shared)]
    holds = ratios[0] >= LIMIT
    print("%-9s %-8s %8.2f s %8.2f s  rate %.3f (%.3f to %.3f)  %-14s whole %.3f  processors %.3f" % (
        name, kind, medians[0][0], medians[1][0], ratios[0], min(spread), max(spread), "holds" if holds else "DOES NOT HOLD",
        ratios[1], ratios[2]), flush=True)
    return holds


def main():
    arguments = parse()
    for program in (arguments.ktbake, arguments.mpirun):
        if not shutil.which(program):
            sys.exit("%s cannot be run; name it with an option" % program)
    arguments.ktbake = os.path.abspath(shutil.which(arguments.ktbake))
    load = os.getloadavg()[0]
    if load > BUSY:
        print("The machine is busy (load %.1f): these times say little." % load)
    if (os.cpu_count() or 1) < arguments.ranks:
        print("There are fewer cores than ranks: only the processor times say something.")
    print("Calculation of one process and of %d ranks, and their ratios; medians of runs in turns; limit %.2f" % (
        arguments.ranks, LIMIT))
    scenes = {"bunny": os.path.join(arguments.models, "stanford-bunny.obj"),
              "engine": os.path.join(arguments.samples, ENGINE), "assembly": arguments.assembly}
    with tempfile.TemporaryDirectory(prefix="ktRanks-") as folder:
        bakes = Bakes(arguments, folder)
        kept = [measure(arguments, bakes, name, scenes[name], kind) for name in arguments.scenes for kind in arguments.kinds]
    print("%d of %d limits hold; load of the machine at the end: %.1f %.1f %.1f" % ((sum(kept), len(kept)) + os.getloadavg()))
    return 0 if all(kept) else 1


if __name__ == "__main__":
    sys.exit(main())
