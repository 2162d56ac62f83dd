# SPDX-License-Identifier: LGPL-2.1-or-later
"""Writes small scenes for the script tests: Wavefront OBJ files with coordinates in millimetres."""
from __future__ import print_function


def write_rooms(path, rooms=2, cells=4):
    """Writes rooms side by side, named room0, room1, ... Each has a floor of cells x cells quads and a wall."""
    lines = []
    count = 0
    for room in range(rooms):
        lines.append("o room%d" % room)
        left = 1500.0 * room
        for wall in (False, True):
            first = count + 1
            for i in range(cells + 1):
                for j in range(cells + 1):
                    across, along = 1000.0 * i / cells, 1000.0 * j / cells
                    lines.append("v %g %g %g" % (left + across, along if wall else 0.0, 0.0 if wall else along))
                    count += 1
            for i in range(cells):
                for j in range(cells):
                    a = first + i * (cells + 1) + j
                    b = a + cells + 1
                    lines.append("f %d %d %d" % ((a, b, a + 1) if wall else (a, a + 1, b)))
                    lines.append("f %d %d %d" % ((b, b + 1, a + 1) if wall else (b, a + 1, b + 1)))
    with open(path, "w") as scene:
        scene.write("\n".join(lines) + "\n")
