# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes ambient occlusion into the vertex colours of a glTF file. Runs in Blender's Python, for ktQualityReport:

blender --background --factory-startup --python-exit-code 1 --python ktQualityBlender.py -- IN.glb OUT.glb RAYS DISTANCE

The distance is in the units of the file. Prints the seconds of the bake."""

import sys
import time

import bpy
import numpy

numpy.bool = bool  # Debian's Blender 3.4 uses this name, which Debian's NumPy no longer has


def main():
    source, target, rays, distance = sys.argv[sys.argv.index("--") + 1:]
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.ops.import_scene.gltf(filepath=source)
    scene = bpy.context.scene
    scene.render.engine = "CYCLES"
    scene.cycles.device = "CPU"
    scene.cycles.samples = int(rays)
    scene.cycles.use_adaptive_sampling = False
    scene.cycles.use_denoising = False  # Debian's build has no denoiser, and bakes nothing if it is on
    scene.world = bpy.data.worlds.new("world")
    scene.world.light_settings.distance = float(distance)
    meshes = [o for o in scene.objects if o.type == "MESH" and len(o.data.polygons) > 0]
    for o in scene.objects:
        o.select_set(o in meshes)
    for o in meshes:
        if o.data.users > 1:
            o.data = o.data.copy()
        for colors in list(o.data.color_attributes):
            o.data.color_attributes.remove(colors)
        o.data.color_attributes.new("AO", "FLOAT_COLOR", "POINT")
        o.data.color_attributes.active_color_index = 0
    bpy.context.view_layer.objects.active = meshes[0]
    start = time.perf_counter()
    bpy.ops.object.bake(type="AO", target="VERTEX_COLORS")
    seconds = time.perf_counter() - start
    if not any(any(c.color[:3]) for o in meshes for c in o.data.color_attributes[0].data):
        raise SystemExit("Blender did not bake")
    bpy.ops.export_scene.gltf(filepath=target, export_format="GLB", export_colors=True, export_animations=False)
    print("ktQualityBlender", seconds, flush=True)


main()
