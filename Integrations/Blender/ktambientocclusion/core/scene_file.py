# SPDX-License-Identifier: LGPL-2.1-or-later
"""The scene as a .glb file for ktbake, and the results that come back over the corners of its meshes."""

import numpy as np

from .corners import join_corners
from .glb import GlbError, GlbReader, GlbWriter
from .light import Light, gathered_color, light_of


class _Primitive:
    """The triangles of a mesh with one material, and how its vertices follow from corners."""

    def __init__(self, corners, joined, material):
        self.corners = corners  # those that the triangles use
        self.joined = joined  # the vertex of each
        self.material = material


class SceneFile:
    """Collects meshes, nodes, materials and lights, writes them, and reads the results of the meshes."""

    def __init__(self):
        self._writer = GlbWriter()
        self._materials = {}
        self._colors = []
        self._primitives = {}  # by mesh
        self._baked, self._occluding = [], []
        self._names = set()
        self.triangles = 0  # in the file; each mesh counts once

    def add_material(self, color, is_blended):
        """A material with a linear base colour; blended ones do not occlude. Equal materials are one."""
        key = (tuple(min(max(float(c), 0.0), 1.0) for c in color), bool(is_blended))
        if key not in self._materials:
            material = {"pbrMetallicRoughness": {"baseColorFactor": list(key[0]) + [1.0]}, "doubleSided": True}
            if is_blended:
                material["alphaMode"] = "BLEND"
            self._materials[key] = self._writer.add("materials", material)
            self._colors.append(key[0])
        return self._materials[key]

    def add_mesh(self, name, mesh, materials):
        """Adds a MeshData. Returns its number; None if it has no triangles.

        materials: number of the material of each slot; empty: white
        """
        if len(mesh.triangles) == 0:
            return None
        slots = np.asarray(materials or [self.add_material((1, 1, 1), False)])
        of_triangle = slots[np.clip(mesh.triangle_slots, 0, len(slots) - 1)]
        primitives, entries = [], []
        for material in np.unique(of_triangle):
            triangles = mesh.triangles[of_triangle == material]
            used = np.zeros(len(mesh.corner_vertices), bool)
            used[triangles] = True
            corners = np.nonzero(used)[0]
            joined, first = join_corners(mesh.corner_vertices[corners], mesh.corner_normals[corners])
            of_corner = np.zeros(len(used), np.uint32)
            of_corner[corners] = joined
            writer = self._writer
            entries.append({
                "attributes": {
                    "POSITION": writer.add_accessor(mesh.positions[mesh.corner_vertices[corners[first]]], True),
                    "NORMAL": writer.add_accessor(mesh.corner_normals[corners[first]]),
                },
                "indices": writer.add_accessor(of_corner[triangles].reshape(-1)),
                "material": int(material),
            })
            primitives.append(_Primitive(corners, joined, int(material)))
        self.triangles += len(mesh.triangles)
        index = self._writer.add("meshes", {"name": name, "primitives": entries})
        self._primitives[index] = primitives
        return index

    def _add_node(self, name, matrix, more):
        node = {"name": name}
        values = [float(matrix[row][column]) for column in range(4) for row in range(4)]
        if values != [float(row == column) for column in range(4) for row in range(4)]:
            node["matrix"] = values
        node.update(more)
        self._names.add(name)
        return self._writer.add("nodes", node)

    def add_node(self, name, mesh, matrix, is_baked):
        """A use of a mesh. matrix: 4 rows of 4, to world space."""
        (self._baked if is_baked else self._occluding).append(self._add_node(name, matrix, {"mesh": mesh}))

    def add_light(self, name, matrix, light):
        """A light of KHR_lights_punctual, as its JSON."""
        used = self._writer.document.setdefault("extensionsUsed", [])
        if not used:
            used.append("KHR_lights_punctual")
            self._writer.document["extensions"] = {"KHR_lights_punctual": {"lights": []}}
        lights = self._writer.document["extensions"]["KHR_lights_punctual"]["lights"]
        lights.append(dict(light, name=name))
        reference = {"extensions": {"KHR_lights_punctual": {"light": len(lights) - 1}}}
        self._occluding.append(self._add_node(name, matrix, reference))

    def write(self, path):
        """Writes the file. Returns the name of the node above what is baked."""
        name = "baked"
        while name in self._names:
            name += "'"
        top = self._writer.add("nodes", {"name": name, "children": self._baked})
        self._writer.add("scenes", {"nodes": [top] + self._occluding})
        self._writer.document["scene"] = 0
        self._writer.write(path)
        return name

    def read_results(self, path, mesh, corners, color_bleeding):
        """The light of a mesh, over its corners. Raises GlbError if there is none.

        corners: number of corners of the mesh; those without a triangle are in the open
        """
        reader = path if isinstance(path, GlbReader) else GlbReader(path)
        result = None
        for index, primitive in enumerate(self._primitives[mesh]):
            ao = reader.attribute(mesh, index, "_AO")
            if ao is None:
                raise GlbError("ktbake has written no results")
            if len(ao) != primitive.joined.max() + 1:
                raise GlbError("ktbake has written %d results for %d vertices" % (len(ao), primitive.joined.max() + 1))
            light = light_of(ao, reader.attribute(mesh, index, "_INDIRECT"), reader.attribute(mesh, index, "_BAKED_LIGHT"),
                             gathered_color(self._colors[primitive.material], color_bleeding))
            if len(primitive.corners) == corners:
                return Light(*(values[primitive.joined] for values in light.arrays()))
            result = result or Light.open(corners)
            for target, source in zip(result.arrays(), light.arrays()):
                target[primitive.corners] = source[primitive.joined]
        return result
