# SPDX-License-Identifier: LGPL-2.1-or-later
"""The panel in the sidebar of the 3D view."""

import bpy

from . import operators, presets, shading
from .settings import DESCRIPTION

# Settings that count only if a switch is on.
_NEEDS = {"gather_quality": "indirect_illumination", "num_indirections": "indirect_illumination",
          "color_bleeding": "indirect_illumination", "override_material_color": "indirect_illumination",
          "material_color": "override_material_color"}


class _Panel:
    bl_space_type = "VIEW_3D"
    bl_region_type = "UI"
    bl_category = "Light"

    def _column(self):
        self.layout.use_property_split = True
        self.layout.use_property_decorate = False
        return self.layout.column()


class KT_PT_bake(_Panel, bpy.types.Panel):
    bl_label = "ktAmbientOcclusion"

    def draw(self, context):
        values = context.scene.ktambientocclusion
        column = self._column()
        column.row().prop(values, "scope", expand=True)
        column.row().prop(values, "domain", expand=True)
        column.menu(presets.KT_MT_presets.__name__, icon="PRESET")
        row = self.layout.row()
        row.scale_y = 1.5
        # Otherwise Blender would run the operator at once, without its window staying usable.
        row.operator_context = "INVOKE_DEFAULT"
        row.operator(operators.KtBake.bl_idname, icon="SHADING_RENDERED")


class _SettingsPanel(_Panel):
    bl_parent_id = "KT_PT_bake"
    group = ""

    def draw(self, context):
        values = context.scene.ktambientocclusion
        column = self._column()
        for setting in DESCRIPTION.groups()[self.group]:
            row = column.row(heading=setting.label if setting.kind == "length" else "")
            row.active = setting.name not in _NEEDS or getattr(values, _NEEDS[setting.name])
            if setting.kind == "length":
                row.prop(values, "use_" + setting.name, text="")
                row = row.row()
                row.active = getattr(values, "use_" + setting.name)
                row.prop(values, setting.name, text="" if row.active else "Automatic")
            else:
                row.prop(values, setting.name)


def _make_settings_panels():
    """One panel for each group of settings."""
    return tuple(type("KT_PT_" + group.lower().replace(" ", "_"), (_SettingsPanel, bpy.types.Panel),
                      {"bl_label": group.title(), "group": group}) for group in DESCRIPTION.groups())


class KT_PT_result(_Panel, bpy.types.Panel):
    bl_label = "Result"
    bl_parent_id = "KT_PT_bake"
    bl_options = {"DEFAULT_CLOSED"}

    def draw(self, context):
        values = context.scene.ktambientocclusion
        column = self._column()
        for name in ("fit", "color_name", "exposure", "strength", "use_shading"):
            column.prop(values, name)
        column.separator()
        column.operator(shading.KtAddShading.bl_idname, icon="NODE_MATERIAL")
        column.operator(shading.KtRemoveShading.bl_idname)
        column.operator(operators.KtRemoveResults.bl_idname, icon="TRASH")


CLASSES = (KT_PT_bake,) + _make_settings_panels() + (KT_PT_result,)
