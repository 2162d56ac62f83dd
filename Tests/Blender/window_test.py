# SPDX-License-Identifier: LGPL-2.1-or-later
"""Walks through the add-on in Blender's window: bake, cancel, undo, redo, materials. Draws pictures of it. Usage:

blender --factory-startup --enable-event-simulate --python window_test.py -- ZIP KTBAKE [FOLDER]

FOLDER: for the pictures. Prints "window_test: passed" at the end, or the reason of a failure."""

import os
import sys
import time
import traceback

import bpy
import numpy as np

ARGUMENTS = sys.argv[sys.argv.index("--") + 1:]
ZIP, KTBAKE = ARGUMENTS[:2]
FOLDER = ARGUMENTS[2] if len(ARGUMENTS) > 2 else None
RESULTS = ("AO", "Baked Light", "Indirect")


def window():
    return bpy.context.window_manager.windows[0]


def view():
    return next(area for area in window().screen.areas if area.type == "VIEW_3D")


def region(kind):
    return next(r for r in view().regions if r.type == kind)


def override():
    return bpy.context.temp_override(window=window(), area=view(), region=region("WINDOW"))


def picture(name):
    if FOLDER:
        with override():
            bpy.ops.screen.screenshot(filepath=os.path.join(FOLDER, name + ".png"))


def press(key, **more):
    x, y = region("WINDOW").x + 300, region("WINDOW").y + 200
    window().event_simulate(type=key, value="PRESS", x=x, y=y, **more)
    window().event_simulate(type=key, value="RELEASE", x=x, y=y, **more)


def click(x, y):
    window().event_simulate(type="MOUSEMOVE", value="NOTHING", x=x, y=y)
    window().event_simulate(type="LEFTMOUSE", value="PRESS", x=x, y=y)
    window().event_simulate(type="LEFTMOUSE", value="RELEASE", x=x, y=y)


def mesh():
    return bpy.data.objects["Suzanne"].data


def has_results():
    found = [name in mesh().attributes for name in RESULTS]
    assert all(found) or not any(found), found
    return all(found)


def make_scene():
    bpy.ops.object.select_all(action="SELECT")
    bpy.ops.object.delete()
    bpy.ops.mesh.primitive_plane_add(size=8)
    bpy.ops.mesh.primitive_monkey_add(location=(0, 0, 1.05), rotation=(-0.62, 0, 1.3))
    suzanne = bpy.context.object
    bpy.ops.object.shade_smooth()
    suzanne.modifiers.new("Subdivision", "SUBSURF").levels = 1
    bpy.ops.object.modifier_apply(modifier="Subdivision")
    bpy.ops.mesh.primitive_cube_add(size=1.2, location=(-0.2, 2.1, 0.6), rotation=(0, 0, 0.3))
    for name, color in (("Suzanne", (0.8, 0.35, 0.12, 1)), ("Cube", (0.2, 0.45, 0.8, 1)), ("Plane", (0.7, 0.7, 0.7, 1))):
        material = bpy.data.materials.new(name)
        material.use_nodes = True
        material.node_tree.nodes["Principled BSDF"].inputs["Base Color"].default_value = color
        bpy.data.objects[name].data.materials.append(material)
    plane = bpy.data.objects["Plane"]
    with bpy.context.temp_override(active_object=plane, object=plane, selected_objects=[plane]):
        plane.modifiers.new("Subdivision", "SUBSURF").subdivision_type = "SIMPLE"
        plane.modifiers["Subdivision"].levels = 6
        bpy.ops.object.modifier_apply(modifier="Subdivision")
    bpy.context.view_layer.objects.active = suzanne
    for one in bpy.data.objects:
        one.select_set(True)
    space = view().spaces[0]
    space.show_region_ui = True
    space.overlay.show_floor = space.overlay.show_axis_x = space.overlay.show_axis_y = False
    space.region_3d.view_distance = 8.5
    space.region_3d.view_location = (0.3, 1.2, 0.3)
    bpy.ops.ed.undo_push(message="Scene")


def show(is_selected):
    """Selects the meshes, or takes away what hides their light."""
    view().spaces[0].overlay.show_overlays = is_selected
    for one in bpy.data.objects:
        one.select_set(is_selected)


def start_bake(**settings):
    with override():
        result = bpy.ops.object.ktambientocclusion_bake("INVOKE_DEFAULT", True, **settings)
    assert result == {"RUNNING_MODAL"}, result


def walk():
    """The steps. Each yields seconds to wait, or a condition to wait for."""
    from ktambientocclusion.operators import KtBake

    def is_baking():
        return KtBake.current is not None

    with override():
        make_scene()
    yield 2
    sidebar = region("UI")
    # The tabs are at the right edge, from the top: Item, Tool, View, and those of add-ons.
    for below in range(150, 330, 20):
        click(sidebar.x + sidebar.width - 10, sidebar.y + sidebar.height - below)
        yield 0.2
    yield 1
    picture("panel")

    start_bake(shadow_quality="5", gather_quality="4")
    yield lambda: is_baking() and KtBake.current.progress[1] > 0.05
    picture("progress")
    press("G")  # moves objects, and is not heard while the bake runs
    yield 0.3
    press("ESC")
    yield lambda: not is_baking()
    assert not has_results(), "a cancelled bake has stored results"
    yield 0.5

    start_bake()
    yield lambda: not is_baking()
    yield 0.5
    assert has_results(), "no results"
    assert abs(bpy.data.objects["Suzanne"].location.z - 1.05) < 1e-6, "an object has moved during the bake"
    count = len(mesh().attributes["AO"].data)
    values = np.empty(count, np.float32)
    mesh().attributes["AO"].data.foreach_get("value", values)
    assert 0.05 < values.mean() < 0.98, values.mean()
    shading = view().spaces[0].shading
    shading.light, shading.color_type = "FLAT", "VERTEX"
    show(False)
    yield 1
    picture("baked")
    show(True)

    with override():
        bpy.ops.ed.undo()
    yield 0.5
    assert not has_results(), "undo keeps the results"
    with override():
        bpy.ops.ed.redo()
    yield 0.5
    assert has_results(), "redo does not bring the results back"
    again = np.empty(count, np.float32)
    mesh().attributes["AO"].data.foreach_get("value", again)
    assert np.array_equal(again, values)

    with override():
        bpy.ops.object.ktambientocclusion_add_shading()
    shading = view().spaces[0].shading
    shading.type = "MATERIAL"
    show(False)
    yield 60 if FOLDER else 1  # software OpenGL compiles the shaders
    picture("materials")
    yield 0.5


def run():
    started, steps, waiting = time.monotonic(), walk(), [0.0]

    def tick():
        try:
            if time.monotonic() - started > 300:
                raise AssertionError("the walk takes too long")
            if callable(waiting[0]) and not waiting[0]():
                return 0.1
            waiting[0] = next(steps)
            return 0.1 if callable(waiting[0]) else waiting[0]
        except StopIteration:
            print("window_test: passed", flush=True)
        except BaseException:
            traceback.print_exc()
            print("window_test: FAILED", flush=True)
        os._exit(0)

    bpy.context.preferences.view.show_splash = False
    bpy.app.timers.register(tick, first_interval=1)


bpy.ops.preferences.addon_install(filepath=ZIP, overwrite=True)
bpy.ops.preferences.addon_enable(module="ktambientocclusion")
bpy.context.preferences.addons["ktambientocclusion"].preferences.program = KTBAKE
run()
