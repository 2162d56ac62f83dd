#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Writes a .glb file that uses one part of 5,000 triangles many times: ktManyUses.py COUNT FILE"""
import json
import math
import random
import struct
import sys

CELLS = 50  # around the torus, and around its tube


def point(u, v):
    a, b = 2 * math.pi * u / CELLS, 2 * math.pi * v / CELLS
    r = 0.3 + 0.03 * math.sin(8 * a) * math.cos(6 * b)
    ring = 1 + r * math.cos(b)
    return (ring * math.cos(a), ring * math.sin(a), r * math.sin(b))


def normal(u, v):
    p, q, s = point(u, v), point(u + 1e-3, v), point(u, v + 1e-3)
    a, b = [q[i] - p[i] for i in range(3)], [s[i] - p[i] for i in range(3)]
    c = [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]
    length = math.sqrt(sum(x * x for x in c))
    return [x / length for x in c]


def place(i, side, chance):
    """The node of use i: turned by any angle, a little scaled, in a loose grid."""
    turn = [chance.gauss(0, 1) for _ in range(4)]
    length = math.sqrt(sum(x * x for x in turn))
    cell = (i % side, i // side % side, i // side // side)
    scale = 0.8 + 0.4 * chance.random()
    return {
        "mesh": 0,
        "name": "use%d" % i,
        "translation": [2.2 * c + 0.4 * chance.random() for c in cell],
        "rotation": [x / length for x in turn],
        "scale": [scale] * 3,
    }


def main(count, path):
    grid = [(u, v) for u in range(CELLS) for v in range(CELLS)]
    positions = [struct.unpack("<3f", struct.pack("<3f", *point(u, v))) for u, v in grid]
    indices = []
    for u, v in grid:
        next_u, next_v = (u + 1) % CELLS, (v + 1) % CELLS
        a, b, c, d = u * CELLS + v, next_u * CELLS + v, next_u * CELLS + next_v, u * CELLS + next_v
        indices += [a, b, c, a, c, d]
    parts = [
        b"".join(struct.pack("<3f", *p) for p in positions),
        b"".join(struct.pack("<3f", *normal(u, v)) for u, v in grid),
        struct.pack("<%dI" % len(indices), *indices),
    ]
    chance = random.Random(1)
    side = max(1, round(count ** (1 / 3)))
    starts = [sum(map(len, parts[:i])) for i in range(3)]
    accessor = {"componentType": 5126, "count": len(grid), "type": "VEC3"}
    document = {
        "asset": {"version": "2.0"},
        "scene": 0,
        "scenes": [{"nodes": list(range(count))}],
        "nodes": [place(i, side, chance) for i in range(count)],
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "NORMAL": 1}, "indices": 2}]}],
        "accessors": [
            dict(accessor, bufferView=0, min=[min(c) for c in zip(*positions)], max=[max(c) for c in zip(*positions)]),
            dict(accessor, bufferView=1),
            {"bufferView": 2, "componentType": 5125, "count": len(indices), "type": "SCALAR"},
        ],
        "bufferViews": [{"buffer": 0, "byteOffset": s, "byteLength": len(p)} for s, p in zip(starts, parts)],
        "buffers": [{"byteLength": sum(map(len, parts))}],
    }
    text = json.dumps(document).encode()
    text += b" " * (-len(text) % 4)
    data = b"".join(parts)
    with open(path, "wb") as file:
        file.write(struct.pack("<4sII", b"glTF", 2, 28 + len(text) + len(data)))
        file.write(struct.pack("<I4s", len(text), b"JSON") + text)
        file.write(struct.pack("<I4s", len(data), b"BIN\0") + data)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(int(sys.argv[1]), sys.argv[2])
