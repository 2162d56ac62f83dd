# SPDX-License-Identifier: LGPL-2.1-or-later
"""Where ktbake is, and how many threads it uses."""

import bpy

from .core import process


class KtPreferences(bpy.types.AddonPreferences):
    bl_idname = __package__

    program: bpy.props.StringProperty(
        name="ktbake", subtype="FILE_PATH",
        description="The program ktbake or its folder. Empty: it is searched on PATH and in the usual folders")
    threads: bpy.props.IntProperty(
        name="Threads", min=0, max=1024, default=0, description="Threads that ktbake uses. 0: one per core")

    def draw(self, _context):
        self.layout.prop(self, "program")
        try:
            path = program()
            self.layout.label(text="%s: %s" % (process.version(path), path), icon="CHECKMARK")
        except RuntimeError as error:
            self.layout.label(text=str(error), icon="ERROR")
        self.layout.prop(self, "threads")


def _preferences():
    return bpy.context.preferences.addons[__package__].preferences


def threads():
    return _preferences().threads


def program():
    """The path of ktbake. Raises RuntimeError if there is none."""
    chosen = bpy.path.abspath(_preferences().program) if _preferences().program else ""
    path = process.find_program(chosen)
    if path is None:
        raise RuntimeError("%s: is no program; change the path in the preferences of this add-on" % chosen if chosen else
                           "ktbake was not found; install it, or set its path in the preferences of this add-on")
    return path


CLASSES = (KtPreferences,)
