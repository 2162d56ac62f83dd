# SPDX-License-Identifier: LGPL-2.1-or-later
"""Writes two scenes to bake, room.glb and car.glb: a room with a red and a green wall and a lamp, and a car-like body.

    python3 scenes.py FOLDER
    ktbake FOLDER/room.glb --mode light-and-shadows --bounces 3 --color-bleeding --no-override-color
    ktbake FOLDER/car.glb --ground-plane --subdivide

Needs only Python, 2.7 or 3. Lengths are in metres, y is up."""
from __future__ import print_function

import argparse
import json
import math
import os
import struct
import sys


class Mesh(object):
    """Triangles of one colour. Points and normals are lists of three floats."""

    def __init__(self, name, color):
        self.name, self.color = name, color
        self.points, self.normals, self.corners = [], [], []

    def add_grid(self, columns, rows, point_at):
        """A sheet of point_at(u, v), u and v from 0 to 1. From the front, u runs right, v up. Normals are smooth."""
        first = len(self.points)
        for row in range(rows + 1):
            for column in range(columns + 1):
                self.points.append(point_at(float(column) / columns, float(row) / rows))
        for row in range(rows):
            for column in range(columns):
                a = first + row * (columns + 1) + column
                b, c, d = a + 1, a + columns + 2, a + columns + 1
                self.corners += [a, b, c, a, c, d]

    def add_quad(self, corner, right, up, cell=0.05):
        """A parallelogram, cut into cells of about this size."""
        self.add_grid(max(1, int(math.ceil(length(right) / cell))), max(1, int(math.ceil(length(up) / cell))),
                      lambda u, v: [corner[i] + u * right[i] + v * up[i] for i in range(3)])

    def add_box(self, low, high, turn=0.0, cell=0.05):
        """A box without its lowest face. `turn` rotates it about its vertical axis, in radians."""
        (x0, y0, z0), (x1, y1, z1) = low, high
        middle = [(x0 + x1) / 2, 0.0, (z0 + z1) / 2]

        def turned(x, y, z):
            x, z = x - middle[0], z - middle[2]
            return [middle[0] + x * math.cos(turn) + z * math.sin(turn), y,
                    middle[2] - x * math.sin(turn) + z * math.cos(turn)]

        ring = [(x0, z1), (x1, z1), (x1, z0), (x0, z0)]
        for i in range(4):
            (ax, az), (bx, bz) = ring[i], ring[(i + 1) % 4]
            corner = turned(ax, y0, az)
            self.add_quad(corner, difference(turned(bx, y0, bz), corner), [0.0, y1 - y0, 0.0], cell)
        corner = turned(x0, y1, z1)
        self.add_quad(corner, difference(turned(x1, y1, z1), corner), difference(turned(x0, y1, z0), corner), cell)

    def add_sphere(self, middle, radius, segments=48):
        self.add_grid(segments, segments // 2, lambda u, v: [
            middle[0] + radius * math.sin(math.pi * v) * math.sin(2 * math.pi * u),
            middle[1] - radius * math.cos(math.pi * v),
            middle[2] + radius * math.sin(math.pi * v) * math.cos(2 * math.pi * u)])

    def finish(self):
        """Computes smooth normals. Points of a smooth mesh at the same position get the same normal."""
        sums = {}
        for i in range(0, len(self.corners), 3):
            a, b, c = [self.points[k] for k in self.corners[i:i + 3]]
            normal = cross(difference(b, a), difference(c, a))
            for k in self.corners[i:i + 3]:
                total = sums.setdefault(self.smooth_key(k, normal), [0.0, 0.0, 0.0])
                for axis in range(3):
                    total[axis] += normal[axis]
        self.normals = [None] * len(self.points)
        for i in range(0, len(self.corners), 3):
            a, b, c = [self.points[k] for k in self.corners[i:i + 3]]
            normal = cross(difference(b, a), difference(c, a))
            for k in self.corners[i:i + 3]:
                if self.normals[k] is None or length(normal) > 0:
                    total = sums[self.smooth_key(k, normal)]
                    size = length(total)
                    self.normals[k] = [x / size for x in total] if size > 0 else [0.0, 1.0, 0.0]
        return self

    def smooth_key(self, index, normal):
        return tuple(round(x, 5) for x in self.points[index])


class FlatMesh(Mesh):
    """A mesh with sharp edges between its sheets: normals are smooth only inside a sheet."""

    def smooth_key(self, index, normal):
        return index


def difference(a, b):
    return [a[i] - b[i] for i in range(3)]


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def length(a):
    return math.sqrt(sum(x * x for x in a))


def write_glb(path, meshes, lights=()):
    """Writes a binary glTF 2.0 file. `lights` are pairs: position; red, green, blue of the light at one metre."""
    scene = {"asset": {"version": "2.0", "generator": "scenes.py"}, "scene": 0, "scenes": [{"nodes": []}], "nodes": [],
             "meshes": [], "materials": [], "accessors": [], "bufferViews": []}
    data = bytearray()

    def add_accessor(values, layout, component, kind, target):
        packed = struct.pack("<%d%s" % (len(values), layout), *values)
        scene["bufferViews"].append(
            {"buffer": 0, "byteOffset": len(data), "byteLength": len(packed), "target": target})
        data.extend(packed)
        width = {"SCALAR": 1, "VEC3": 3}[kind]
        scene["accessors"].append({"bufferView": len(scene["bufferViews"]) - 1, "componentType": component,
                                   "count": len(values) // width, "type": kind})
        return len(scene["accessors"]) - 1

    for mesh in meshes:
        mesh.finish()
        # The file holds 32-bit floats, so the bounds are computed from 32-bit floats too.
        flat = struct.unpack("<%df" % (3 * len(mesh.points)),
                             struct.pack("<%df" % (3 * len(mesh.points)), *[x for p in mesh.points for x in p]))
        positions = add_accessor(flat, "f", 5126, "VEC3", 34962)
        scene["accessors"][positions]["min"] = [min(flat[axis::3]) for axis in range(3)]
        scene["accessors"][positions]["max"] = [max(flat[axis::3]) for axis in range(3)]
        normals = add_accessor([x for n in mesh.normals for x in n], "f", 5126, "VEC3", 34962)
        corners = add_accessor(mesh.corners, "I", 5125, "SCALAR", 34963)
        scene["materials"].append({"name": mesh.name, "pbrMetallicRoughness": {
            "baseColorFactor": list(mesh.color) + [1.0], "metallicFactor": 0.0, "roughnessFactor": 0.8}})
        scene["meshes"].append({"name": mesh.name, "primitives": [{
            "attributes": {"POSITION": positions, "NORMAL": normals}, "indices": corners,
            "material": len(scene["materials"]) - 1}]})
        scene["nodes"].append({"name": mesh.name, "mesh": len(scene["meshes"]) - 1})
    if lights:
        scene["extensionsUsed"] = ["KHR_lights_punctual"]
        scene["extensions"] = {"KHR_lights_punctual": {"lights": []}}
    for position, color in lights:
        strongest = max(color)
        scene["extensions"]["KHR_lights_punctual"]["lights"].append(
            {"type": "point", "color": [x / strongest for x in color], "intensity": strongest})
        scene["nodes"].append({"name": "lamp", "translation": position, "extensions": {"KHR_lights_punctual": {
            "light": len(scene["extensions"]["KHR_lights_punctual"]["lights"]) - 1}}})
    scene["scenes"][0]["nodes"] = list(range(len(scene["nodes"])))
    scene["buffers"] = [{"byteLength": len(data)}]
    text = json.dumps(scene, separators=(",", ":"), sort_keys=True).encode("ascii")
    text += b" " * (-len(text) % 4)
    with open(path, "wb") as file:
        file.write(struct.pack("<4sII", b"glTF", 2, 12 + 8 + len(text) + 8 + len(data)))
        file.write(struct.pack("<I4s", len(text), b"JSON") + text)
        file.write(struct.pack("<I4s", len(data), b"BIN\0") + bytes(data))


def make_room(path):
    """A room of 4 by 4 m, 2.8 m high. Walls are visible only from inside, so that a camera outside sees in."""
    white = (0.78, 0.77, 0.74)
    red, green = FlatMesh("red wall", (0.72, 0.06, 0.04)), FlatMesh("green wall", (0.09, 0.55, 0.10))
    plain, floor = FlatMesh("plain walls", white), FlatMesh("floor", (0.70, 0.66, 0.60))
    red.add_quad([-2, 0, 2], [0, 0, -4], [0, 2.8, 0])
    green.add_quad([-2, 0, -2], [4, 0, 0], [0, 2.8, 0])
    plain.add_quad([2, 0, -2], [0, 0, 4], [0, 2.8, 0])
    plain.add_quad([2, 0, 2], [-4, 0, 0], [0, 2.8, 0])
    plain.add_quad([-2, 2.8, -2], [4, 0, 0], [0, 0, 4])
    floor.add_quad([-2, 0, 2], [4, 0, 0], [0, 0, -4], 0.03)
    box, ball = FlatMesh("box", white), Mesh("ball", white)
    box.add_box([-1.55, 0, -0.75], [-0.85, 1.3, -0.05], 0.35, 0.04)
    ball.add_sphere([0.35, 0.45, -1.15], 0.45, 64)
    # The lamp: a shade over seven small lights, so that shadows are soft.
    shade = Mesh("shade", (0.30, 0.30, 0.32))
    for side in (1, -1):
        shade.add_grid(32, 8, lambda u, v: [0.1 + 0.34 * (1 - v) * math.sin(side * 2 * math.pi * u),
                                            2.02 + 0.24 * v ** 1.5 + 0.004 * side,
                                            0.1 + 0.34 * (1 - v) * math.cos(side * 2 * math.pi * u)])
    cord = Mesh("cord", (0.05, 0.05, 0.05))
    cord.add_grid(8, 4, lambda u, v: [0.1 + 0.008 * math.sin(2 * math.pi * u), 2.2 + 0.6 * v,
                                      0.1 + 0.008 * math.cos(2 * math.pi * u)])
    lights = []
    for i in range(7):
        angle, radius = 2 * math.pi * i / 6, 0.0 if i == 6 else 0.12
        lights.append(([0.1 + radius * math.cos(angle), 2.0, 0.1 + radius * math.sin(angle)], [0.50, 0.46, 0.40]))
    write_glb(path, [red, green, plain, floor, box, ball, shade, cord], lights)


def rounded(angle, power):
    """A point of a rounded square of half width 1: a superellipse of this power."""
    c, s = math.cos(angle), math.sin(angle)
    return [math.copysign(abs(x) ** (2.0 / power), x) for x in (c, s)]


def between(x, knots):
    """A smooth curve through knots (x, value), horizontal at each knot."""
    for (x0, y0), (x1, y1) in zip(knots, knots[1:]):
        if x <= x1:
            t = min(1.0, max(0.0, (x - x0) / (x1 - x0)))
            return y0 + (y1 - y0) * t * t * (3 - 2 * t)
    return knots[-1][1]


WHEELS = (-1.35, 1.35)          # along x
WHEEL_RADIUS, ARCH_RADIUS = 0.32, 0.38


def body_section(x):
    """Half width, lowest and highest point of the body's cross-section, without the wheel arches."""
    along = min(1.0, abs(x) / 2.2)
    taper = (1 - along ** 8) ** (1.0 / 3)
    top = between(x, [(-2.2, 0.84), (-1.5, 0.92), (0.8, 0.91), (1.6, 0.85), (2.2, 0.68)])
    bottom = between(x, [(-2.2, 0.36), (-1.8, 0.20), (1.8, 0.20), (2.2, 0.32)])
    middle = (top + bottom) / 2
    return (0.88 - 0.10 * along ** 3) * (0.75 + 0.25 * taper) * min(1.0, taper * 3), \
        middle - taper * (middle - bottom), middle + taper * (top - middle)


def arch(x, low):
    """Height of the lower edge of the body: higher over the wheels."""
    for wheel in WHEELS:
        if abs(x - wheel) <= ARCH_RADIUS:
            return max(low, WHEEL_RADIUS + math.sqrt(ARCH_RADIUS ** 2 - (x - wheel) ** 2))
    return low


def body_point(x, low, u):
    """A point of the skin: from one lower rim (u = 0) over the top to the other (u = 1), never below `low`."""
    width, bottom, top = body_section(x)
    power, height = 5.0, top - bottom
    share = min(0.98, max(0.0, (low - bottom) / height)) if height > 0 else 0.0
    start = share / (1 - share ** power) ** (1 / power)
    if u < 0.3:
        across, up = 1.0, start + (1 - start) * u / 0.3
    elif u > 0.7:
        across, up = -1.0, start + (1 - start) * (1 - u) / 0.3
    else:
        across, up = 1 - (u - 0.3) / 0.2, 1.0
    size = (abs(across) ** power + up ** power) ** (1 / power)
    return [x, bottom + height * up / size, width * across / size]


def add_body(skin, under):
    """Adds skin and underside, cut where the wheel arches begin and end."""
    cuts = [-2.2]
    for wheel in WHEELS:
        cuts += [wheel - ARCH_RADIUS, wheel + ARCH_RADIUS]
    cuts.append(2.2)
    for i in range(len(cuts) - 1):
        x0, x1 = cuts[i], cuts[i + 1]
        over_wheel = i % 2 == 1

        def x_at(v):
            # Denser towards the ends, where the surface turns.
            return x0 + (x1 - x0) * (0.5 - 0.5 * math.cos(math.pi * v))

        def low_at(x):
            bottom = body_section(x)[1]
            return arch(x, bottom) if over_wheel else bottom

        def skin_at(u, v):
            return body_point(x_at(v), low_at(x_at(v)), 1 - u)

        def under_at(u, v):
            x = x_at(v)
            rim = body_point(x, low_at(x), 0.0)
            return [x, rim[1], rim[2] * (2 * u - 1) * -1]

        columns = max(16, int((x1 - x0) / 0.03))
        skin.add_grid(80, columns, skin_at)
        under.add_grid(40, columns, lambda u, v: under_at(1 - u, v))
        if over_wheel:
            for x, side in ((x0, 1), (x1, -1)): # the vertical ends of the arch
                bottom = body_section(x)[1]
                rim = body_point(x, bottom, 0.0)
                under.add_quad([x, bottom, rim[2] * side], [0, 0, -2 * rim[2] * side],
                               [0, max(0.01, WHEEL_RADIUS - bottom), 0])


def make_car(path):
    """A car body of 4.4 m with a cabin and four wheels. Its front points to +x, its wheels touch y = 0."""
    paint, glass, rubber, steel = (0.62, 0.09, 0.06), (0.10, 0.13, 0.16), (0.06, 0.06, 0.06), (0.55, 0.56, 0.58)

    def cabin_at(u, v):
        rise = min(1.0, v / 0.86)
        shrink = math.cos(0.5 * math.pi * max(0.0, (v - 0.86) / 0.14)) # closes the roof
        front, rear = 1.05 - 0.85 * rise, -1.95 + 0.75 * rise
        x, z = rounded(-2 * math.pi * u, 4.5)
        return [(front + rear) / 2 + shrink * x * (front - rear) / 2,
                0.84 + 0.56 * rise + 0.05 * (1 - shrink) ** 0.5, shrink * (0.80 - 0.18 * rise) * z]

    def part(grid_at, low, high):
        return lambda u, v: grid_at(u, low + v * (high - low))

    body, windows, roof = Mesh("body", paint), Mesh("windows", glass), Mesh("roof", paint)
    under = FlatMesh("underside", (0.12, 0.12, 0.12))
    add_body(body, under)
    windows.add_grid(96, 20, part(cabin_at, 0.0, 0.74))
    roof.add_grid(96, 24, part(cabin_at, 0.74, 1.0))
    tyres, hubs = Mesh("tyres", rubber), Mesh("hubs", steel)
    for x in WHEELS:
        for side in (1, -1):
            def ring_at(radii, depths, x=x, side=side):
                def at(u, v):
                    k = min(len(radii) - 2, int(v * (len(radii) - 1)))
                    t = v * (len(radii) - 1) - k
                    radius = radii[k] + t * (radii[k + 1] - radii[k])
                    depth = depths[k] + t * (depths[k + 1] - depths[k])
                    angle = side * 2 * math.pi * u
                    return [x + radius * math.cos(angle), WHEEL_RADIUS + radius * math.sin(angle),
                            side * (0.61 + depth)]
                return at
            tyres.add_grid(40, 10, ring_at([0.21, 0.28, 0.31, 0.32, 0.31, 0.28, 0.21],
                                           [0.0, 0.0, 0.02, 0.05, 0.22, 0.245, 0.235]))
            hubs.add_grid(40, 6, ring_at([0.21, 0.12, 0.0], [0.235, 0.215, 0.225]))
    write_glb(path, [body, under, windows, roof, tyres, hubs])


def main():
    parser = argparse.ArgumentParser(description="Writes two scenes to bake, room.glb and car.glb.")
    parser.add_argument("folder", help="folder for the scenes; created if missing")
    folder = parser.parse_args().folder
    try:
        if not os.path.isdir(folder):
            os.makedirs(folder)
        for name, make in (("room.glb", make_room), ("car.glb", make_car)):
            path = os.path.join(folder, name)
            make(path)
            print(path)
    except (IOError, OSError) as error:
        print("scenes.py: %s" % error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
