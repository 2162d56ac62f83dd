# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes ambient occlusion and bounced light into the vertices of meshes, with ktbake."""

bl_info = {
    "name": "ktAmbientOcclusion",
    "author": "The ktAmbientOcclusion developers",
    "version": (0, 0, 0),  # the build sets the version
    "blender": (3, 4, 0),
    "location": "3D View > Sidebar > Light",
    "description": "Bakes ambient occlusion and bounced light into vertices",
    "category": "Object",
}

if "bpy" in locals():  # the add-on is loaded again
    import importlib
    from . import (materials, meshes, lights, operators, panels, preferences, presets, results, scene, settings, shading)
    for module in (preferences, settings, meshes, materials, lights, scene, results, shading, presets, operators, panels):
        importlib.reload(module)

import bpy

from . import operators, panels, preferences, presets, settings, shading

MODULES = (preferences, settings, shading, presets, operators, panels)


def register():
    for module in MODULES:
        for one in module.CLASSES:
            bpy.utils.register_class(one)
    settings.add_to_scenes()


def unregister():
    settings.remove_from_scenes()
    for module in reversed(MODULES):
        for one in reversed(module.CLASSES):
            bpy.utils.unregister_class(one)
