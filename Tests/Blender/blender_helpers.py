# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the tests in Blender share. The command line ends with -- ZIP KTBAKE [TEST...]."""

import os
import subprocess
import sys
import tempfile
import unittest

import bpy
import numpy as np

from plain_gltf import write_gltf

ARGUMENTS = sys.argv[sys.argv.index("--") + 1:]
ZIP, KTBAKE = ARGUMENTS[:2]
QUICK = {"shadow_quality": "0", "fit": "vertices"}


def install():
    bpy.ops.preferences.addon_install(filepath=ZIP, overwrite=True)
    bpy.ops.preferences.addon_enable(module="ktambientocclusion")
    bpy.context.preferences.addons["ktambientocclusion"].preferences.program = KTBAKE


def bake(**settings):
    """Bakes the selected objects, as a script does."""
    return bpy.ops.object.ktambientocclusion_bake("EXEC_DEFAULT", True, **dict(QUICK, **settings))


def values(mesh, name, member="value", columns=1):
    data = mesh.attributes[name].data
    result = np.empty(len(data) * columns, np.float32)
    data.foreach_get(member, result)
    return result if columns == 1 else result.reshape(-1, columns)


def ao(one):
    return values(one.data, "AO")


def select(*objects):
    bpy.context.view_layer.update()
    for one in bpy.context.view_layer.objects:
        one.select_set(one in objects)
    bpy.context.view_layer.objects.active = objects[0] if objects else None


def add_cube(location=(0, 0, 0), size=2):
    bpy.ops.mesh.primitive_cube_add(location=location, size=size)
    return bpy.context.object


def add_floor(z=-1.2):
    bpy.ops.mesh.primitive_plane_add(location=(0, 0, z), size=10)
    return bpy.context.object


def corners_of(one):
    """Points, normals, vertices of the corners and triangles of an object as it is evaluated, read one by one."""
    evaluated = one.evaluated_get(bpy.context.evaluated_depsgraph_get())
    mesh = evaluated.to_mesh()
    if hasattr(mesh, "calc_normals_split"):
        mesh.calc_normals_split()
    mesh.calc_loop_triangles()
    points = [tuple(mesh.vertices[corner.vertex_index].co) for corner in mesh.loops]
    normals = [tuple(corner.normal) for corner in mesh.loops]
    vertices = [corner.vertex_index for corner in mesh.loops]
    triangles = [tuple(triangle.loops) for triangle in mesh.loop_triangles]
    evaluated.to_mesh_clear()
    return points, normals, vertices, triangles


def ktbake_values(baked, occluding=(), names=("_AO",), options=("--fit=vertices",)):
    """What ktbake gives for objects whose corners are written one by one: arrays over the corners of the first one."""
    uses = []
    for one in list(baked) + list(occluding):
        points, normals, _, triangles = corners_of(one)
        uses.append((one.name, points, normals, triangles, one.matrix_world))
    with tempfile.TemporaryDirectory() as folder:
        source, target = os.path.join(folder, "a.gltf"), os.path.join(folder, "b.glb")
        write_gltf(source, uses)
        subprocess.run([KTBAKE, source, "-o", target, "--quiet", "--unit", "m", "--up", "z", "--shadow-quality", "0",
                        *options, "--select"] + [o.name for o in baked], check=True)
        from ktambientocclusion.core.glb import GlbReader
        reader = GlbReader(target)
        return [reader.attribute(0, 0, name) for name in names]


def everything_of(mesh):
    """All data of a mesh but the results."""
    found = {}
    for name, columns in (("vertices", 3), ("edges", 2), ("loops", 1), ("polygons", 1)):
        member = {"vertices": "co", "edges": "vertices", "loops": "vertex_index", "polygons": "loop_start"}[name]
        kind = np.float32 if name == "vertices" else np.int32
        data = np.empty(len(getattr(mesh, name)) * columns, kind)
        getattr(mesh, name).foreach_get(member, data)
        found[name] = data.tobytes()
    found["attributes"] = [(a.name, a.data_type, a.domain) for a in mesh.attributes
                           if a.name not in ("AO", "Indirect", "Baked Light")]
    found["active"] = mesh.attributes.active.name if mesh.attributes.active else None
    found["uv"] = [(layer.name, layer.active, layer.active_render) for layer in mesh.uv_layers]
    found["keys"] = [k.name for k in mesh.shape_keys.key_blocks] if mesh.shape_keys else []
    found["materials"] = [m and m.name for m in mesh.materials]
    found["flags"] = [p.use_smooth for p in mesh.polygons] + [p.material_index for p in mesh.polygons]
    return found


class InBlender(unittest.TestCase):
    def setUp(self):
        bpy.ops.wm.read_factory_settings(use_empty=True)
        install()
        # The first state that undo can come back to.
        bpy.ops.ed.undo_push(message="Start")

    def assert_fails(self, text, **settings):
        with self.assertRaisesRegex(RuntimeError, text):
            bake(**settings)
