# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests the tree of nodes and results by name, Python 2.7 or 3. Argument: the folder of the libraries."""
from __future__ import print_function

import base64
import json
import struct
import unittest

from script_host import Host, QUICK, ao, floats, kthost

TRIANGLE = [0, 0, 0, 1, 0, 0, 0, 1, 0]


def write_parts(path):
    """A glTF file in metres: a group that is moved and turned, below it a part of two primitives, points and lines."""
    def primitive(mode):
        return {"attributes": {"POSITION": 0}, "mode": mode}
    document = {
        "asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"name": "group", "translation": [1, 2, 3], "rotation": [0, 0, 0.7071067811865476, 0.7071067811865476],
                   "children": [1, 2, 3, 4, 5]},
                  {"name": "two/parts", "mesh": 0, "translation": [0, 0, 10]},
                  {"name": "cloud", "mesh": 1}, {"name": "wire", "mesh": 2}, {"mesh": 3}, {"name": "one", "mesh": 3}],
        "meshes": [{"primitives": [primitive(4), primitive(4)]}, {"primitives": [primitive(0)]},
                   {"primitives": [primitive(3)]}, {"primitives": [primitive(4)]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                       "min": [0, 0, 0], "max": [1, 1, 0]}],
        "bufferViews": [{"buffer": 0, "byteLength": 36}],
        "buffers": [{"byteLength": 36, "uri": "data:application/octet-stream;base64," + base64.b64encode(
            struct.pack("<9f", *TRIANGLE)).decode("ascii")}]}
    with open(path, "w") as scene:
        json.dump(document, scene)


def apply(matrix, point):
    return [sum(row[i] * value for i, value in enumerate(list(point) + [1])) for row in matrix]


class Tree(Host):
    def open_parts(self):
        write_parts(self.path("parts.gltf"))
        kthost.open(self.path("parts.gltf"), unit="m")

    def test_find_keeps_the_selection(self):
        self.open_parts()
        before = kthost.selection()
        self.assertEqual([node.name for node in kthost.find("group/one")], ["one"])
        self.assertEqual(kthost.find("attic"), [])
        self.assertEqual(kthost.selection(), before)
        self.assertRaises(TypeError, kthost.find, 3)
        kthost.close()
        self.assertRaises(kthost.Error, kthost.find, "one")

    def test_parents_and_children(self):
        self.open_parts()
        for node in kthost.nodes():
            for child in node.children:
                self.assertEqual(child.parent, node)
            if node.parent is not None:
                self.assertIn(node, node.parent.children)
        self.assertEqual([node for node in kthost.nodes() if node.parent is None], kthost.nodes()[:1])
        group = kthost.find("group")[0]
        self.assertEqual([node.name for node in group.children], ["two/parts", "cloud", "wire", "", "one"])

    def test_geometry_of_a_node(self):
        self.open_parts()
        counts = {"group": 0, "two/parts": 2, "cloud": 1, "wire": 1, "one": 1}
        for name, count in counts.items():
            found = kthost.find(name)[0].geometry
            self.assertEqual([(node.kind, node.vertices) for node in found], [("Geometry", 3)] * count)
            for node in found:
                self.assertEqual(node.geometry, [node])

    def test_geometry_has_the_name_in_the_file(self):
        self.open_parts()
        self.assertEqual([node.name for node in self.geometry()],
                         ["two/parts", "two/parts", "cloud", "wire", "", "one"])
        self.assertIn('"two/parts"', repr(self.geometry()[0]))

    def test_matrices(self):
        self.open_parts()
        part = kthost.find("two/parts")[0]
        self.assertEqual(part.matrix, ((1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 10), (0, 0, 0, 1)))
        self.assertEqual(part.geometry[0].matrix, ((1, 0, 0, 0), (0, 1, 0, 0), (0, 0, 1, 0), (0, 0, 0, 1)))
        for node in (part, part.geometry[1]):
            # Turned by 90 degrees around z, moved, in millimetres.
            for ours, expected in zip(apply(node.world_matrix, (1, 0, 0)), (1000, 3000, 13000, 1)):
                self.assertAlmostEqual(ours, expected, 2)

    def test_a_node_that_has_left_the_scene(self):
        self.open_parts()
        node = kthost.find("one")[0]
        kthost.close()
        for name in ("parent", "children", "matrix", "world_matrix", "geometry"):
            self.assertRaises(kthost.Error, getattr, node, name)


class ResultsByName(Host):
    def test_a_name_in_the_file(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        for name in ("room0", "rooms.obj/room1"):
            results = kthost.results(name)
            expected = kthost.results(kthost.find(name)[0].geometry[0])
            self.assertEqual(floats(results["positions"]), floats(expected["positions"]))
            self.assertEqual(floats(kthost.results(kthost.find(name)[0])["ao"]), floats(results["ao"]))
        self.assertNotEqual(floats(kthost.results("room0")["positions"]), floats(kthost.results("room1")["positions"]))

    def test_what_a_name_cannot_give(self):
        write_parts(self.path("parts.gltf"))
        kthost.open(self.path("parts.gltf"), unit="m")
        ao.computeAmbientOcclusion(*QUICK)
        self.assertEqual(len(kthost.results("one")["ao"]), 3)
        for name, reason in (("two/parts", "2 geometries"), ("group", '"two/parts"'), ("cloud", "points or lines"),
                             ("wire", "points or lines")):
            with self.assertRaises(kthost.Error) as caught:
                kthost.results(name)
            self.assertIn('"%s"' % name, str(caught.exception))
            self.assertIn(reason, str(caught.exception))

    def test_points_alone_are_not_baked(self):
        with open(self.path("cloud.ply"), "w") as cloud:
            cloud.write("ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                        "property float z\nend_header\n0 0 0\n1 0 0\n0 1 0\n")
        kthost.open(self.path("cloud.ply"), unit="m")
        for call in (kthost.bake, lambda: kthost.results(self.geometry()[0])):
            with self.assertRaises(kthost.Error) as caught:
                call()
            self.assertIn("points or lines", str(caught.exception))


if __name__ == "__main__":
    unittest.main()
