# SPDX-License-Identifier: LGPL-2.1-or-later
"""The operators that bake and that remove results."""

import bpy

from . import results, shading
from .bake import Bake, BakeError
from .settings import KtSettingsOfOperator, Values

# Events that pass while ktbake runs: they look at the scene, and do not change it.
_VIEWING = {"MIDDLEMOUSE", "WHEELUPMOUSE", "WHEELDOWNMOUSE", "WHEELINMOUSE", "WHEELOUTMOUSE", "TRACKPADPAN", "TRACKPADZOOM",
            "MOUSEROTATE", "MOUSESMARTZOOM", "MOUSEMOVE", "INBETWEEN_MOUSEMOVE"}


class KtBake(KtSettingsOfOperator, bpy.types.Operator):
    """Bake ambient occlusion and bounced light into vertices"""

    bl_idname = "object.ktambientocclusion_bake"
    bl_label = "Bake Light"
    bl_options = {"UNDO"}

    __annotations__ = KtSettingsOfOperator.__annotations__

    current = None  # the bake that runs in the window
    _bake = None
    _timer = None

    @classmethod
    def poll(cls, _context):
        if KtBake.current:
            cls.poll_message_set("A bake is running; Esc cancels it")
        return KtBake.current is None

    def _start(self, context):
        self._values = Values(context.scene, self)
        try:
            self._bake = Bake(context, self._values)
        except BakeError as error:
            self.report({"ERROR"}, str(error))
            return False
        return True

    def execute(self, context):
        """Waits for ktbake. Scripts and Blender without windows call this."""
        if not self._start(context):
            return {"CANCELLED"}
        try:
            while self._bake.is_running:
                self._bake.wait(0.05)
        except BaseException:  # Ctrl-C
            self._bake.cancel()
            raise
        return self._finish()

    def invoke(self, context, _event):
        if not self._start(context):
            return {"CANCELLED"}
        manager = context.window_manager
        KtBake.current = self._bake
        self._timer = manager.event_timer_add(0.05, window=context.window)
        manager.progress_begin(0, 100)
        manager.modal_handler_add(self)
        self._show_progress(context)
        return {"RUNNING_MODAL"}

    def _show_progress(self, context):
        text, done = self._bake.progress
        context.workspace.status_text_set("%s    |    Esc: cancel" % text)
        context.window_manager.progress_update(100 * done)
        if context.area:
            context.area.tag_redraw()

    def modal(self, context, event):
        if event.type == "ESC" and event.value == "PRESS":
            self._bake.cancel()
            self._end_modal(context)
            self.report({"INFO"}, "Cancelled")
            return {"CANCELLED"}
        if event.type == "TIMER":
            if not self._bake.is_running:
                self._end_modal(context)
                return self._finish()
            self._show_progress(context)
        return {"PASS_THROUGH"} if event.type in _VIEWING or event.type.startswith("TIMER") else {"RUNNING_MODAL"}

    def cancel(self, context):
        """Blender ends the operator, for example because another file is opened."""
        self._bake.cancel()
        self._end_modal(context)

    def _end_modal(self, context):
        KtBake.current = None
        context.window_manager.event_timer_remove(self._timer)
        context.window_manager.progress_end()
        context.workspace.status_text_set(None)

    def _finish(self):
        try:
            names = self._bake.finish()
        except BakeError as error:
            self.report({"ERROR"}, str(error))
            return {"CANCELLED"}
        for warning in self._bake.warnings:
            self.report({"WARNING"}, warning)
        if self._values.use_shading:
            shading.report_added(self, [bpy.data.objects[name] for name in names], self._values.color_name)
        self.report({"INFO"}, "Baked " + (names[0] if len(names) == 1 else "%d meshes" % len(names)))
        return {"FINISHED"}


class KtRemoveResults(bpy.types.Operator):
    """Remove the attributes of a bake from the selected meshes"""

    bl_idname = "object.ktambientocclusion_remove"
    bl_label = "Remove Results"
    bl_options = {"REGISTER", "UNDO"}

    @classmethod
    def poll(cls, context):
        return any(o.type == "MESH" for o in context.selected_objects)

    def execute(self, context):
        count = 0
        for mesh in {o.data for o in context.selected_objects if o.type == "MESH" and o.data.library is None}:
            if mesh.is_editmode:
                self.report({"ERROR"}, "%s is in Edit Mode; leave it (Tab) first" % mesh.name)
                return {"CANCELLED"}
            count += results.remove(mesh, context.scene.ktambientocclusion.color_name)
        self.report({"INFO"}, "Removed %d attributes" % count)
        return {"FINISHED"}


CLASSES = (KtBake, KtRemoveResults)
