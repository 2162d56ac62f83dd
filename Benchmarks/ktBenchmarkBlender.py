#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Ambient occlusion into vertex colours: compares ktbake with Debian's Blender (Cycles, headless), with the same rays.

Both read the same file, trace the same number of rays per sample without a maximum distance, and use the same number of
threads. The time includes building the structure, but not reading and writing. Blender samples every corner of every
triangle, ktbake samples every vertex once. So the table gives the seconds of a bake and also the rays per second.

With --addon, both bake Suzanne with 500,000 smooth faces (--levels 5) into a colour attribute on corners, inside one
Blender. The time of the add-on includes all: the way of the scene to ktbake, its start, and the way of the results into the
attributes."""

import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile

RAYS = {0: 64, 1: 256, 2: 1024, 3: 2304, 4: 4096, 5: 16384}  # of --shadow-quality
MARK = "ktBenchmarkBlender "


def prepare_cycles(rays, threads):
    import bpy

    scene = bpy.context.scene
    scene.render.engine = "CYCLES"
    scene.cycles.device = "CPU"
    scene.cycles.samples = rays
    scene.cycles.use_adaptive_sampling = False
    scene.cycles.use_denoising = False  # Debian's build has no denoiser, and bakes nothing if it is on
    scene.render.threads_mode = "FIXED"
    scene.render.threads = threads
    scene.world = bpy.data.worlds.new("world")
    scene.world.light_settings.distance = 1.0e10


def inside_blender(path, rays, threads):
    """Bakes one file. Runs in Blender's Python."""
    import time

    import bpy

    bpy.ops.wm.read_factory_settings(use_empty=True)
    ending = os.path.splitext(path)[1].lower()
    if ending == ".obj":
        bpy.ops.wm.obj_import(filepath=path)
    elif ending in (".glb", ".gltf"):
        bpy.ops.import_scene.gltf(filepath=path)
    else:
        raise SystemExit(path + ": is not .obj, .glb or .gltf")
    scene = bpy.context.scene
    prepare_cycles(rays, threads)
    meshes = [o for o in scene.objects if o.type == "MESH"]
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
    light = [c.color[0] for o in meshes for c in o.data.color_attributes[0].data]
    if not any(light):
        raise SystemExit("Blender did not bake")
    print(MARK + json.dumps({
        "seconds": seconds,
        "vertices": len(light),
        "samples": sum(len(o.data.loops) for o in meshes),
        "mean": sum(light) / len(light),
    }), flush=True)


def addon_inside_blender(zip_path, ktbake, levels, quality, threads, repeats):
    """Bakes Suzanne with the add-on and with Cycles, by turns. Runs in Blender's Python."""
    import resource
    import time

    import bpy
    import numpy as np

    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.ops.preferences.addon_install(filepath=zip_path, overwrite=True)
    bpy.ops.preferences.addon_enable(module="ktambientocclusion")
    preferences = bpy.context.preferences.addons["ktambientocclusion"].preferences
    preferences.program, preferences.threads = ktbake, threads
    bpy.ops.mesh.primitive_monkey_add()
    suzanne = bpy.context.object
    suzanne.modifiers.new("Subdivision", "SUBSURF").levels = levels
    bpy.ops.object.modifier_apply(modifier="Subdivision")
    bpy.ops.object.shade_smooth()
    mesh = suzanne.data
    mesh.color_attributes.new("Cycles", "FLOAT_COLOR", "CORNER")
    prepare_cycles(RAYS[quality], threads)

    def values(name, member, columns):
        array = np.empty(len(mesh.loops) * columns, np.float32)
        mesh.attributes[name].data.foreach_get(member, array)
        return array[::columns]

    # Wall clock, and processor time of Blender and ktbake: on a busy machine, only the second is reliable.
    seconds = {"addon": [], "cycles": []}

    def times():
        children = resource.getrusage(resource.RUSAGE_CHILDREN)
        return np.array([time.perf_counter(), time.process_time() + children.ru_utime + children.ru_stime])

    for _ in range(repeats):
        start = times()
        bpy.ops.object.ktambientocclusion_bake(
            scope="SELECTED", domain="CORNER", fit="vertices", shadow_quality=str(quality), indirect=False, min_distance=0,
            max_distance=1e9)
        seconds["addon"].append(list(times() - start))
        mesh.color_attributes.active_color = mesh.color_attributes["Cycles"]
        start = times()
        bpy.ops.object.bake(type="AO", target="VERTEX_COLORS")
        seconds["cycles"].append(list(times() - start))
    ours, theirs = values("AO", "value", 1), values("Cycles", "color", 4)
    if not theirs.any():
        raise SystemExit("Blender did not bake")
    mesh.calc_loop_triangles()
    print(MARK + json.dumps({
        "faces": len(mesh.polygons), "vertices": len(mesh.vertices), "samples": 3 * len(mesh.loop_triangles),
        "addon": sorted(seconds["addon"])[repeats // 2], "cycles": sorted(seconds["cycles"])[repeats // 2],
        "difference": float(np.abs(ours - theirs).mean()),
    }), flush=True)


def compare_addon(arguments):
    done = subprocess.run([arguments.blender, "--background", "--factory-startup", "--python-exit-code", "1", "--python",
                           os.path.abspath(__file__), "--", "--addon", os.path.abspath(arguments.addon),
                           shutil.which(arguments.ktbake), str(arguments.levels), str(arguments.quality), str(arguments.threads),
                           str(arguments.repeats)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    lines = [line for line in done.stdout.splitlines() if line.startswith(MARK)]
    if not lines:
        raise SystemExit("Blender failed:\n" + done.stdout[-2000:])
    result = json.loads(lines[0][len(MARK):])
    print("Suzanne, %(faces)d faces, %(vertices)d vertices; mean difference %(difference).4f" % result)
    print(f"{'seconds':16} {'add-on':>8} {'Cycles':>8} {'ratio':>6}   (Cycles: {result['samples']} samples)")
    for row, name in enumerate(("wall clock", "processor time")):
        ours, theirs = result["addon"][row], result["cycles"][row]
        print(f"{name:16} {ours:8.2f} {theirs:8.2f} {theirs / ours:6.1f}")
    print("Load of the machine: %.1f %.1f %.1f" % os.getloadavg())


def run_blender(blender, path, rays, threads):
    done = subprocess.run([blender, "--background", "--factory-startup", "--python-exit-code", "1", "--python",
                           os.path.abspath(__file__), "--", path, str(rays), str(threads)],
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    for line in done.stdout.splitlines():
        if line.startswith(MARK):
            return json.loads(line[len(MARK):])
    raise SystemExit("Blender failed:\n" + done.stdout[-2000:])


def run_ktbake(ktbake, path, quality, threads):
    with tempfile.TemporaryDirectory() as folder:
        stats = os.path.join(folder, "stats.json")
        command = [ktbake, path, "-o", os.path.join(folder, "out.glb"), "--shadow-quality", str(quality), "--mode", "classic",
                   "--no-indirect", "--no-subdivide", "--min-distance", "0", "--max-distance", "1e30",
                   "--threads", str(threads), "--stats", stats, "--quiet"]
        environment = dict(os.environ, KT_PREFERENCES_DIR=folder + "/")
        subprocess.run(command, check=True, env=environment, stdout=subprocess.DEVNULL)
        with open(stats, encoding="utf-8") as file:
            result = json.load(file)
    parts = result["seconds"]
    return {"seconds": parts["structure"] + parts["tracing"] + parts["storing"], "vertices": result["verticesTraced"]}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("scene", nargs="*", help=".obj, .glb or .gltf")
    parser.add_argument("--addon", metavar="ZIP", help="compares the Blender add-on instead, on Suzanne")
    parser.add_argument("--levels", type=int, default=5, help="how often Suzanne is subdivided; 5: 503,808 faces")
    parser.add_argument("--ktbake", default="ktbake", help="the program to measure")
    parser.add_argument("--blender", default="blender")
    parser.add_argument("--quality", type=int, choices=RAYS, default=2, help="64, 256, 1024, 2304, 4096, 16384 rays")
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--repeats", type=int, default=3, help="number of alternating runs; the median counts")
    arguments = parser.parse_args()
    if not shutil.which(arguments.blender):
        print("Blender is not installed (apt-get install blender): nothing to compare with.")
        return
    version = subprocess.run([arguments.blender, "--version"], stdout=subprocess.PIPE, text=True, check=True).stdout.split("\n")[0]
    rays = RAYS[arguments.quality]
    print(f"{version}, {rays} rays, {arguments.threads} threads, median of {arguments.repeats}")
    if arguments.addon:
        compare_addon(arguments)
        return
    print(f"{'scene':24} {'':8} {'seconds':>8} {'samples':>9} {'Mray/s':>8} {'mean':>6}")
    for path in arguments.scene:
        theirs, ours = [], []
        for _ in range(arguments.repeats):
            theirs.append(run_blender(arguments.blender, os.path.abspath(path), rays, arguments.threads))
            ours.append(run_ktbake(arguments.ktbake, os.path.abspath(path), arguments.quality, arguments.threads))
        middle = arguments.repeats // 2
        slow = sorted(theirs, key=lambda r: r["seconds"])[middle]
        fast = sorted(ours, key=lambda r: r["seconds"])[middle]
        name = os.path.basename(path)
        print(f"{name:24} {'Blender':8} {slow['seconds']:8.2f} {slow['samples']:9} "
              f"{slow['samples'] * rays / slow['seconds'] / 1e6:8.2f} {slow['mean']:6.3f}")
        print(f"{name:24} {'ktbake':8} {fast['seconds']:8.2f} {fast['vertices']:9} "
              f"{fast['vertices'] * rays / fast['seconds'] / 1e6:8.2f} {'':6}")
        print(f"{'':24} {'ratio':8} {slow['seconds'] / fast['seconds']:8.1f} {'':9} "
              f"{fast['vertices'] / fast['seconds'] * slow['seconds'] / slow['samples']:8.1f}", flush=True)


if __name__ == "__main__":
    if "bpy" in sys.modules or os.path.basename(sys.executable).startswith("blender") or "--python" in sys.argv:
        if sys.argv[-7] == "--addon":
            addon_inside_blender(sys.argv[-6], sys.argv[-5], *map(int, sys.argv[-4:]))
        else:
            inside_blender(sys.argv[-3], int(sys.argv[-2]), int(sys.argv[-1]))
    else:
        main()
