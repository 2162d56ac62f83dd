# SPDX-License-Identifier: LGPL-2.1-or-later
"""The panel in the sidebar of the 3D view."""

import bpy

from . import operators, presets, shading
from .settings import DESCRIPTION

# Settings that count only if a switch is on.
_NEEDS = {"gather_quality": "indirect", "bounces": "indirect", "color_bleeding": "indirect", "override": "indirect",
          "override_color": "override"}


class _Panel:
    bl_space_type = "VIEW_3D"
    bl_region_type = "UI"
    bl_category = "Light"

    @staticmethod
    def _row(column, label):
        """A row with a label and room for controls. Blender's own split is too narrow for our labels."""
        split = column.split(factor=0.56)
        split.label(text=label)
        return split.row()


class KT_PT_bake(_Panel, bpy.types.Panel):
    bl_label = "ktAmbientOcclusion"

    def draw(self, context):
        values = context.scene.ktambientocclusion
        column = self.layout.column()
        column.row().prop(values, "scope", expand=True)
        column.row().prop(values, "domain", expand=True)
        column.menu(presets.KT_MT_presets.__name__, icon="PRESET")
        if operators.KtBake.current:
            self.layout.label(text=operators.KtBake.current.progress[0], icon="TIME")
        row = self.layout.row()
        row.scale_y = 1.5
        # Blender stays usable while the operator runs.
        row.operator_context = "INVOKE_DEFAULT"
        row.operator(operators.KtBake.bl_idname, icon="SHADING_RENDERED")


class _SettingsPanel(_Panel):
    bl_parent_id = "KT_PT_bake"
    group = ""

    def draw(self, context):
        values = context.scene.ktambientocclusion
        column = self.layout.column()
        for setting in DESCRIPTION.groups()[self.group]:
            is_switch = setting.kind == "switch"
            row = column.row() if is_switch else self._row(column, setting.label)
            row.active = setting.name not in _NEEDS or getattr(values, _NEEDS[setting.name])
            if setting.kind == "length":
                row.prop(values, "use_" + setting.name, text="")
                if getattr(values, "use_" + setting.name):
                    row.prop(values, setting.name, text="")
                else:
                    row.label(text="Auto")
            else:
                row.prop(values, setting.name, text=setting.label if is_switch else "")


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
        column = self.layout.column()
        for name in ("fit", "color_name", "exposure", "strength"):
            self._row(column, values.bl_rna.properties[name].name).prop(values, name, text="")
        column.prop(values, "use_shading")
        column.separator()
        column.operator(shading.KtAddShading.bl_idname, icon="NODE_MATERIAL")
        column.operator(shading.KtRemoveShading.bl_idname)
        column.operator(operators.KtRemoveResults.bl_idname, icon="TRASH")


CLASSES = (KT_PT_bake,) + _make_settings_panels() + (KT_PT_result,)
