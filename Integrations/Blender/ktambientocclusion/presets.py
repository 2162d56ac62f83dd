# SPDX-License-Identifier: LGPL-2.1-or-later
"""The presets of ktbake. The window ktstudio and the command line have the same."""

import bpy

from . import preferences, settings
from .core import process
from .core.description import setting_arguments

_names = []  # Blender needs the texts of a menu as long as it shows them


def _items(_self, _context):
    return _names or [("", "No presets", "")]


class _PresetOperator:
    bl_options = {"INTERNAL"}

    def _try(self, action):
        try:
            action()
            return {"FINISHED"}
        except RuntimeError as error:
            self.report({"ERROR"}, str(error))
            return {"CANCELLED"}


class KtLoadPreset(_PresetOperator, bpy.types.Operator):
    """Set the settings of this scene to those of a preset"""

    bl_idname = "scene.ktambientocclusion_load_preset"
    bl_label = "Load Preset"
    bl_options = {"REGISTER", "UNDO"}

    name: bpy.props.StringProperty(name="Preset")

    def execute(self, context):
        return self._try(lambda: settings.apply(context.scene, process.preset_values(
            preferences.program(), self.name, settings.DESCRIPTION)))


class KtSavePreset(_PresetOperator, bpy.types.Operator):
    """Save the settings of this scene as a preset, which ktbake and ktstudio have, too"""

    bl_idname = "scene.ktambientocclusion_save_preset"
    bl_label = "Save Preset"

    name: bpy.props.StringProperty(name="Name", default="My Preset")

    def invoke(self, context, _event):
        return context.window_manager.invoke_props_dialog(self)

    def execute(self, context):
        values = settings.Values(context.scene).for_ktbake()
        values.pop("mode", None)  # presets have no mode
        return self._try(lambda: process.save_preset(preferences.program(), self.name,
                                                     setting_arguments(settings.DESCRIPTION, values)))


class KtDeletePreset(_PresetOperator, bpy.types.Operator):
    """Delete a preset"""

    bl_idname = "scene.ktambientocclusion_delete_preset"
    bl_label = "Delete Preset"
    bl_property = "name"

    name: bpy.props.EnumProperty(name="Preset", items=_items)

    def invoke(self, context, _event):
        def choose():
            _names[:] = [(n, n, "") for n in process.preset_names(preferences.program())]
            context.window_manager.invoke_search_popup(self)
        return self._try(choose)

    def execute(self, _context):
        return self._try(lambda: process.delete_preset(preferences.program(), self.name))


class KT_MT_presets(bpy.types.Menu):
    bl_label = "Presets"

    def draw(self, _context):
        try:
            names = process.preset_names(preferences.program())
        except RuntimeError as error:
            self.layout.label(text=str(error), icon="ERROR")
            return
        for name in names:
            self.layout.operator(KtLoadPreset.bl_idname, text=name).name = name
        self.layout.separator()
        self.layout.operator(KtSavePreset.bl_idname, text="Save...", icon="ADD")
        self.layout.operator(KtDeletePreset.bl_idname, text="Delete...", icon="REMOVE")


CLASSES = (KtLoadPreset, KtSavePreset, KtDeletePreset, KT_MT_presets)
