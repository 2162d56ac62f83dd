#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""How the time and memory of ktbake grow with the size of a scene: scenes of a kind, each twice as large as the one before.
Prints processor time and the largest memory, and by how much they grow. A start of the program is taken off both.

    python3 Benchmarks/ktBenchmarkGrowth.py --ktbake build/release/bin/ktbake
"""
import argparse
import base64
import json
import os
import shutil
import struct
import subprocess
import tempfile

TRIANGLE = struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0)
SKIN = struct.pack("<12H12f", *([0] * 12 + [1.0, 0, 0, 0] * 3))
PRIMITIVE = {"attributes": {"POSITION": 0}}


def uri(data):
    return "data:application/octet-stream;base64," + base64.b64encode(data).decode()


def scene(nodes, roots, **others):
    document = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": roots}], "nodes": nodes,
                "meshes": [{"primitives": [PRIMITIVE]}],
                "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3"},
                              {"bufferView": 1, "componentType": 5123, "count": 3, "type": "VEC4"},
                              {"bufferView": 2, "componentType": 5126, "count": 3, "type": "VEC4"}],
                "bufferViews": [{"buffer": 0, "byteLength": 36}, {"buffer": 0, "byteOffset": 36, "byteLength": 24},
                                {"buffer": 0, "byteOffset": 60, "byteLength": 48}],
                "buffers": [{"byteLength": 108, "uri": uri(TRIANGLE + SKIN)}]}
    document.update(others)
    return document


def spread(count, **members):
    """Nodes beside each other."""
    return [dict(members, translation=[2.0 * (i % 300), 0, 2.0 * (i // 300)]) for i in range(count)]


def nodes(count):
    return scene(spread(count, mesh=0), list(range(count)))


def empty_nodes(count):
    return scene([{"mesh": 0}] + [{} for _ in range(count)], list(range(count + 1)))


def chain(count):
    below = [{"mesh": 0, "translation": [0, 0, 0.01], "children": [i + 1]} for i in range(count - 1)]
    return scene(below + [{"mesh": 0}], [0])


def depth(count):
    return scene([{"children": [i + 1]} for i in range(count)] + [{"mesh": 0}], [0])


def materials(count):
    meshes = [{"primitives": [dict(PRIMITIVE, material=i)]} for i in range(count)]
    placed = [dict(node, mesh=i) for i, node in enumerate(spread(count))]
    colours = [{"name": "m%d" % i, "pbrMetallicRoughness": {"baseColorFactor": [i / count, 0.5, 0.5, 1]}}
               for i in range(count)]
    return scene(placed, list(range(count)), meshes=meshes, materials=colours)


def joints(count):
    skinned = [{} for _ in range(count)] + [{"mesh": 0, "skin": 0} for _ in range(count)]
    primitive = {"attributes": {"POSITION": 0, "JOINTS_0": 1, "WEIGHTS_0": 2}}
    return scene(skinned, list(range(2 * count)), meshes=[{"primitives": [primitive]}],
                 skins=[{"joints": list(range(count))}])


def texts(count):
    each = 20000
    return scene([{"mesh": 0, "extras": {"text %d" % i: "x" for i in range(first, min(first + each, count))}}
                  for first in range(0, count, each)], list(range((count + each - 1) // each)))


def buffers(count):
    document = scene(spread(count), list(range(count)))
    for i in range(count):
        document["nodes"][i]["mesh"] = i
    document["meshes"] = [{"primitives": [{"attributes": {"POSITION": i}}]} for i in range(count)]
    document["accessors"] = [dict(document["accessors"][0], bufferView=i) for i in range(count)]
    document["bufferViews"] = [{"buffer": i, "byteLength": 36} for i in range(count)]
    document["buffers"] = [{"byteLength": 36, "uri": uri(TRIANGLE)} for _ in range(count)]
    return document


def triangles(count):
    """One mesh; its triangles are a wavy strip, eight wide."""
    points = b"".join(struct.pack("<3f", x, (3 * x + y) % 5 * 0.1, y) for y in range(count // 16 + 1) for x in range(9))
    corners = b"".join(struct.pack("<6I", a, a + 9, a + 1, a + 1, a + 9, a + 10)
                       for y in range(count // 16) for a in range(9 * y, 9 * y + 8))
    document = scene([{"mesh": 0}], [0])
    document["meshes"][0]["primitives"] = [{"attributes": {"POSITION": 0}, "indices": 1}]
    document["accessors"] = [{"bufferView": 0, "componentType": 5126, "count": len(points) // 12, "type": "VEC3"},
                             {"bufferView": 1, "componentType": 5125, "count": len(corners) // 4, "type": "SCALAR"}]
    document["bufferViews"] = [{"buffer": 0, "byteLength": len(points)},
                               {"buffer": 0, "byteOffset": len(points), "byteLength": len(corners)}]
    document["buffers"] = [{"byteLength": len(points + corners), "uri": uri(points + corners)}]
    return document


CASES = [("nodes with one mesh", nodes, 25000), ("nodes without a mesh", empty_nodes, 50000),
         ("depth, a mesh at each level", chain, 12500), ("depth, a mesh at the end", depth, 25000),
         ("materials", materials, 10000), ("nodes times joints", joints, 5000), ("texts of nodes", texts, 50000),
         ("buffers", buffers, 25000), ("triangles of one mesh", triangles, 200000)]


def measure(ktbake, folder, options, repeats):
    """The least processor time in seconds and the memory in MB."""
    best = (1e9, 1e9)
    for _ in range(repeats):
        process = subprocess.Popen([ktbake, "a.gltf", "-qo", "out.glb"] + options, cwd=folder,
                                   stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = 0  # it is reaped
        assert status == 0, status
        best = (min(best[0], usage.ru_utime + usage.ru_stime), min(best[1], usage.ru_maxrss / 1024))
    return best


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--ktbake", required=True)
    parser.add_argument("--scale", type=float, default=1, help="factor on all sizes")
    parser.add_argument("--repeats", type=int, default=3)
    arguments = parser.parse_args()
    ktbake, folder = os.path.abspath(arguments.ktbake), tempfile.mkdtemp()
    os.environ["KT_PREFERENCES_DIR"] = folder + "/preferences/"
    options = ["--shadow-quality", "0", "--no-indirect", "--threads", "1", "--fit", "vertices"]

    def bake(document):
        with open(os.path.join(folder, "a.gltf"), "w") as opened:
            json.dump(document, opened)
        return measure(ktbake, folder, options, arguments.repeats)

    start = bake(scene([{"mesh": 0}], [0]))
    print("A start takes %.2f s and %.0f MB.\n" % start)
    print("| of what | size | s | MB | growth of the time | of the memory |\n|---|---|---|---|---|---|")
    worst = 0
    for name, make, size in CASES:
        before = None
        for factor in (1, 2, 4):
            count = int(size * factor * arguments.scale)
            found = tuple(a - b for a, b in zip(bake(make(count)), start))
            growth = ["", ""] if before is None else [a / max(b, 1e-9) for a, b in zip(found, before)]
            worst = max([worst] + [value for value in growth if value != ""])
            print("| %s | %d | %.2f | %.0f | %s | %s |" % ((name, count) + found + tuple(
                value if value == "" else "%.2f" % value for value in growth)), flush=True)
            before = found
    print("\nThe largest growth for twice the size: %.2f" % worst)
    shutil.rmtree(folder)


main()
