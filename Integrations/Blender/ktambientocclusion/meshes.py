# SPDX-License-Identifier: LGPL-2.1-or-later
"""Reads meshes of Blender into arrays."""

import numpy as np

from .core import tracking
from .core.corners import MeshData


def _read(collection, name, kind, columns=1):
    values = np.empty(len(collection) * columns, kind)
    collection.foreach_get(name, values)
    return values if columns == 1 else values.reshape(-1, columns)


def _corner_normals(mesh):
    if hasattr(mesh, "corner_normals"):  # Blender 4.1 and later
        return _read(mesh.corner_normals, "vector", np.float32, 3)
    mesh.calc_normals_split()
    try:
        return _read(mesh.loops, "normal", np.float32, 3)
    finally:
        mesh.free_normals_split()


def read_mesh(mesh):
    """A mesh as MeshData. Polygons are divided into triangles as Blender draws them."""
    mesh.calc_loop_triangles()
    triangles = _read(mesh.loop_triangles, "loops", np.int32, 3)
    slots = _read(mesh.loop_triangles, "material_index", np.int32) if len(mesh.materials) > 1 else \
        np.zeros(len(triangles), np.int32)
    return MeshData(_read(mesh.vertices, "co", np.float32, 3), corner_vertices(mesh), _corner_normals(mesh), triangles, slots)


def corner_vertices(mesh):
    return _read(mesh.loops, "vertex_index", np.int32)


def has_same_corners(mesh, evaluated):
    """Whether modifiers have only moved the vertices."""
    return len(mesh.vertices) == len(evaluated.vertices) and len(mesh.loops) == len(evaluated.loops) and \
        np.array_equal(corner_vertices(mesh), corner_vertices(evaluated))


class Tracks:
    """Numbers on the corners of meshes, which their modifiers carry along. They are removed at the end of `with`."""

    def __init__(self, meshes):
        self._meshes = list(meshes)
        self._active = []

    def __enter__(self):
        for mesh in self._meshes:
            self._active.append(mesh.attributes.active_index)
            attribute = mesh.attributes.new(tracking.NAME, "FLOAT_VECTOR", "CORNER")
            attribute.data.foreach_set("vector", tracking.encode(len(mesh.loops)).ravel())
            mesh.update_tag()
        return self

    def __exit__(self, *_):
        for mesh, active in zip(self._meshes, self._active):
            attribute = mesh.attributes.get(tracking.NAME)
            if attribute is not None:
                mesh.attributes.remove(attribute)
            mesh.attributes.active_index = active
            mesh.update_tag()


def find_corners(evaluated, count):
    """Where each of the `count` corners of the mesh is in its evaluated mesh; -1 if modifiers have removed it."""
    attribute = evaluated.attributes.get(tracking.NAME)
    if attribute is None or attribute.domain != "CORNER" or attribute.data_type != "FLOAT_VECTOR":
        return np.full(count, -1, np.int64)
    return tracking.decode(_read(attribute.data, "vector", np.float32, 3), count)


def fill_with_nearest(found, mesh, evaluated_object, evaluated, depsgraph):
    """Replaces -1 by the corner of the evaluated mesh that is nearest to the vertex of the corner."""
    lost = np.nonzero(found < 0)[0]
    vertices = corner_vertices(mesh)
    nearest = {}
    for vertex in np.unique(vertices[lost]):
        point = mesh.vertices[int(vertex)].co
        hit, location, _, face = evaluated_object.closest_point_on_mesh(point, depsgraph=depsgraph)
        if hit and 0 <= face < len(evaluated.polygons):
            loops = evaluated.polygons[face].loop_indices
            nearest[vertex] = min(loops, key=lambda i: (
                evaluated.vertices[evaluated.loops[i].vertex_index].co - location).length_squared)
    for corner in lost:
        found[corner] = nearest.get(vertices[corner], -1)
    return found
