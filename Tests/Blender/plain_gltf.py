# SPDX-License-Identifier: LGPL-2.1-or-later
"""Another way to write a scene than that of the add-on, so that tests can compare their results."""

import base64
import json
import struct


def write_gltf(path, uses):
    """Writes a .gltf file with one vertex per corner.

    uses: name, points and normals of the corners, triangles (numbers of corners), matrix to world space (4 rows of 4)
    """
    data, nodes, meshes, views, accessors = b"", [], [], [], []
    for name, points, normals, triangles, matrix in uses:
        numbers = {}
        for key, rows in (("POSITION", points), ("NORMAL", normals)):
            rows = [[float(x) for x in row] for row in rows]
            block = b"".join(struct.pack("<3f", *row) for row in rows)
            numbers[key] = len(accessors)
            accessors.append({"bufferView": len(views), "componentType": 5126, "count": len(rows), "type": "VEC3",
                              "min": [min(r[i] for r in rows) for i in range(3)],
                              "max": [max(r[i] for r in rows) for i in range(3)]})
            views.append({"buffer": 0, "byteOffset": len(data), "byteLength": len(block)})
            data += block
        indices = [int(i) for t in triangles for i in t]
        block = struct.pack("<%dI" % len(indices), *indices)
        accessors.append({"bufferView": len(views), "componentType": 5125, "count": len(indices), "type": "SCALAR"})
        views.append({"buffer": 0, "byteOffset": len(data), "byteLength": len(block)})
        data += block
        meshes.append({"primitives": [{"attributes": numbers, "indices": len(accessors) - 1}]})
        nodes.append({"name": name, "mesh": len(meshes) - 1,
                      "matrix": [float(matrix[row][column]) for column in range(4) for row in range(4)]})
    with open(path, "w", encoding="utf-8") as file:
        json.dump({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": list(range(len(nodes)))}], "nodes": nodes,
                   "meshes": meshes, "accessors": accessors, "bufferViews": views, "buffers": [
                       {"byteLength": len(data), "uri": "data:application/octet-stream;base64," +
                        base64.b64encode(data).decode("ascii")}]}, file)
