# SPDX-License-Identifier: LGPL-2.1-or-later
"""Corners of faces and the vertices that ktbake gets.

A corner of a face has the vertex's position and an own normal. A vertex of the file is a vertex of the mesh with one of
the normals of its corners. Values per corner come back over the same numbers, so the mapping is exact."""

import numpy as np


class MeshData:
    """A mesh as arrays.

    positions: float32 (vertices, 3), in object space
    corner_vertices: int32 (corners), the vertex of each corner
    corner_normals: float32 (corners, 3)
    triangles: int32 (triangles, 3), corners
    triangle_slots: int32 (triangles), material slots
    """

    def __init__(self, positions, corner_vertices, corner_normals, triangles, triangle_slots):
        self.positions = positions
        self.corner_vertices = corner_vertices
        self.corner_normals = corner_normals
        self.triangles = triangles
        self.triangle_slots = triangle_slots


def join_corners(vertices, normals):
    """Joins corners with the same vertex and the same bits of the normal.

    vertices: int (n); normals: float32 (n, 3)
    Returns the number of the joined vertex of each corner, and the first corner of each joined vertex.
    """
    bits = np.ascontiguousarray(normals, np.float32).view(np.uint32).reshape(-1, 3)
    joined = np.empty(len(vertices), np.int64)
    slots = np.empty(int(vertices.max()) + 1 if len(vertices) else 0, np.int64)
    remaining = np.arange(len(vertices))
    firsts, total = [np.empty(0, np.int64)], 0
    # Each round joins the corners that agree with the first remaining one of their vertex.
    while len(remaining):
        at = vertices[remaining]
        slots[at[::-1]] = remaining[::-1]  # the last assignment counts, so the first corner does
        first = slots[at]
        same = (bits[remaining] == bits[first]).all(axis=1)
        leaders = remaining[first == remaining]
        slots[vertices[leaders]] = np.arange(total, total + len(leaders))
        joined[remaining[same]] = slots[at[same]]
        firsts.append(leaders)
        total += len(leaders)
        remaining = remaining[~same]
    return joined, np.concatenate(firsts)


def corner_angles(mesh):
    """The angle of the face at each corner, in radians, float64 (corners)."""
    points = mesh.positions[mesh.corner_vertices].astype(np.float64)
    angles = np.zeros(len(mesh.corner_vertices))
    for i in range(3):
        here, after, before = (mesh.triangles[:, (i + k) % 3] for k in range(3))
        a, b = points[after] - points[here], points[before] - points[here]
        angle = np.arctan2(np.linalg.norm(np.cross(a, b), axis=1), np.einsum("ij,ij->i", a, b))
        angles += np.bincount(here, angle, len(angles))
    return angles


def mean_at_points(values, corner_vertices, weights, count, missing):
    """Values of points from values of corners: their mean, weighted with the angles.

    values: float32 (corners, k); weights: (corners)
    count: number of points; missing: value of a point without corners
    """
    # Faces without an area have no angle, but need a value as well.
    weights = np.maximum(weights, 1e-9)
    total = np.bincount(corner_vertices, weights, count)
    result = np.full((count, values.shape[1]), missing, np.float32)
    used = total > 0
    for k in range(values.shape[1]):
        # The difference to one corner of the point: where all corners agree, the mean is exactly their value.
        base = np.zeros(count, np.float64)
        base[corner_vertices] = values[:, k]
        offset = np.bincount(corner_vertices, weights * (values[:, k] - base[corner_vertices]), count)
        result[used, k] = base[used] + offset[used] / total[used]
    return result
