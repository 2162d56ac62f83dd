#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""How soon ktbake ends after Ctrl-C: whole runs get a signal at seeded random times, while they read, build the structure,
trace, refine, write or draw. Prints the time from the signal to the end of the process, and the processor time between, which
does not depend on what else the machine does. Also checks that the old or the new output is there, and nothing else.

    python3 Benchmarks/ktBenchmarkCancels.py --ktbake build/release/bin/ktbake --count 1000
"""
import argparse
import json
import os
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time

ENGINE = "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"
OLD = b"old"


def write_surface(path, side):
    """A wavy surface of 2 * side^2 triangles as a .gltf file, with numbers that take long to read."""
    data = bytearray()
    for y in range(side + 1):
        for x in range(side + 1):
            data += struct.pack("<3f", x, (x * y) % 7 * 0.2, y)
    points = len(data)
    for y in range(side):
        for x in range(side):
            a = y * (side + 1) + x
            data += struct.pack("<6I", a, a + side + 1, a + 1, a + 1, a + side + 1, a + side + 2)
    with open(os.path.splitext(path)[0] + ".bin", "wb") as binary:
        binary.write(data)
    nodes = [{"mesh": 0}] + [{"extras": {"number": i / 7, "name": "node %d" % i}} for i in range(100000)]
    scene = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": list(range(len(nodes)))}], "nodes": nodes,
             "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "indices": 1}]}],
             "accessors": [{"bufferView": 0, "componentType": 5126, "count": (side + 1) ** 2, "type": "VEC3",
                            "min": [0, 0, 0], "max": [side, 1.2, side]},
                           {"bufferView": 1, "componentType": 5125, "count": 6 * side ** 2, "type": "SCALAR"}],
             "bufferViews": [{"buffer": 0, "byteLength": points},
                             {"buffer": 0, "byteOffset": points, "byteLength": len(data) - points}],
             "buffers": [{"byteLength": len(data), "uri": os.path.basename(path)[:-5] + ".bin"}]}
    with open(path, "w") as opened:
        json.dump(scene, opened)


def processor_time(process):
    """Of all its threads so far, in seconds, to a hundredth."""
    try:
        with open("/proc/%d/stat" % process) as opened:
            fields = opened.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
    except OSError:
        return 0


class Runs:
    def __init__(self, ktbake, name, arguments):
        self.ktbake, self.name, self.arguments = ktbake, name, arguments
        self.whole = self.run(None)
        assert self.whole["code"] == 0, name
        self.expected = self.whole["output"]

    def run(self, moment, number=signal.SIGINT):
        folder = tempfile.mkdtemp()
        output = os.path.join(folder, "out.glb")
        with open(output, "wb") as opened:
            opened.write(OLD)
        environment = dict(os.environ, KT_PREFERENCES_DIR=os.path.join(folder, "preferences") + "/", TMPDIR=folder)
        process = subprocess.Popen([self.ktbake] + self.arguments +
                                   ["-qo", "out.glb", "--preview", "p.png", "--stats", "s.json"],
                                   cwd=folder, env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        begin = time.monotonic()
        used, sent = 0, None
        if moment is not None:
            time.sleep(moment)
            used, sent = processor_time(process.pid), time.monotonic()
            os.kill(process.pid, number)  # an ended process is still there: nobody has waited for it
        _, status, usage = os.wait4(process.pid, 0)
        end = time.monotonic()
        process.returncode = 0  # it is reaped
        with open(output, "rb") as opened:
            content = opened.read()
        left = sorted(set(os.listdir(folder)) - {"out.glb", "p.png", "s.json", "preferences"})
        shutil.rmtree(folder)
        return {"code": os.waitstatus_to_exitcode(status), "output": content, "left": left, "seconds": end - begin,
                "wait": end - sent if sent else 0, "work": max(0, usage.ru_utime + usage.ru_stime - used)}

    def cancel(self, chance):
        result = self.run(chance.uniform(0, self.whole["seconds"]), chance.choice([signal.SIGINT, signal.SIGTERM]))
        # -2, -15: the signal came before the program listens.
        result["good"] = (result["code"] in (0, 130, -signal.SIGINT, -signal.SIGTERM) and not result["left"] and
                          result["output"] in (OLD, self.expected))
        return result


def tell(name, results):
    cancelled = [result for result in results if result["code"] != 0]
    early = sum(result["code"] < 0 for result in results)
    print("%s: %d signals, %d ended the bake, %d of them before the program listens, %d came too late"
          % (name, len(results), len(cancelled), early, len(results) - len(cancelled)))
    for key, what in (("wait", "time to the end"), ("work", "processor time to the end")):
        times = sorted(1000 * result[key] for result in cancelled)
        if times:
            print("    %-26s median %.0f ms, 99 %% %.0f ms, longest %.0f ms" %
                  (what, times[len(times) // 2], times[min(len(times) - 1, int(0.99 * len(times)))], times[-1]))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--ktbake", required=True)
    parser.add_argument("--count", type=int, default=1000)
    parser.add_argument("--seed", type=int, default=17)
    options = parser.parse_args()
    folder = tempfile.mkdtemp()
    surface = os.path.join(folder, "surface.gltf")
    write_surface(surface, 250)
    fast = ["--shadow-quality", "0", "--gather-quality", "0"]
    ktbake = os.path.abspath(options.ktbake)
    scenes = [Runs(ktbake, "engine, bounces, refined", [ENGINE, "--bounces", "2", "--subdivide"] + fast),
              Runs(ktbake, "surface of 125,000 triangles, 100,000 nodes", [surface] + fast)]
    chance = random.Random(options.seed)
    results = [[] for _ in scenes]
    bad = []
    for i in range(options.count):
        result = scenes[i % len(scenes)].cancel(chance)
        results[i % len(scenes)].append(result)
        if not result["good"]:
            bad.append((i, result["code"], result["left"], len(result["output"])))
    for scene, some in zip(scenes, results):
        tell(scene.name, some)
    tell("all", sum(results, []))
    print("Load of the machine: %.1f on %d processors" % (os.getloadavg()[0], os.cpu_count()))
    shutil.rmtree(folder)
    if bad:
        sys.exit("ended wrongly (number, exit code, files left, size of the output): %s" % bad)


main()
