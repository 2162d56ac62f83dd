# SPDX-License-Identifier: LGPL-2.1-or-later
"""Collects what is baked and what occludes from Blender's scene."""

import bpy
import numpy as np

from . import lights, materials, meshes
from .core.corners import corner_angles
from .core.light import Light
from .core.scene_file import SceneFile

REFUSED_MODES = {"EDIT": "Edit Mode", "SCULPT": "Sculpt Mode"}


class CollectError(Exception):
    """Why a scene cannot be baked."""


class Receiver:
    """A mesh that is baked, by name, because Blender may move data while ktbake runs."""

    def __init__(self, mesh, object_name):
        self.mesh_name = mesh.name
        self.object_name = object_name
        self.vertices = len(mesh.vertices)
        self.corners = len(mesh.loops)
        self.number = None  # of the mesh in the file
        self.data = None  # the evaluated mesh
        self.found = None  # for each corner, where it is in the evaluated mesh; None: at the same place

    def mesh(self):
        """The mesh; raises CollectError if it is gone or another one."""
        mesh = next((m for m in bpy.data.meshes if m.name == self.mesh_name and m.library is None), None)
        if mesh is None or len(mesh.vertices) != self.vertices or len(mesh.loops) != self.corners:
            raise CollectError("%s: its mesh was changed during the bake" % self.object_name)
        return mesh

    @property
    def evaluated_corners(self):
        return len(self.data.corner_vertices)

    def on_mesh(self, light):
        """The light over the corners of the mesh, from that over the corners of the evaluated mesh."""
        if self.found is None:
            return light
        kept = self.found >= 0
        result = Light.open(self.corners)
        for target, source in zip(result.arrays(), light.arrays()):
            target[kept] = source[self.found[kept]]
        return result

    def point_weights(self):
        """Weights of the corners of the mesh: the angles of the evaluated faces."""
        angles = corner_angles(self.data)
        return angles if self.found is None else np.where(self.found >= 0, angles[self.found], 0.0)


def _rendered_objects(view_layer):
    """Names of objects in a collection that is not disabled in renders."""
    names, waiting = set(), [view_layer.layer_collection]
    while waiting:
        layer = waiting.pop()
        if layer.exclude or layer.collection.hide_render:
            continue
        names.update((o.name, o.library) for o in layer.collection.objects)
        waiting += layer.children
    return names


class Collector:
    """Reads the scene into a SceneFile.

    file: the SceneFile; receivers: list of Receiver; warnings: texts
    """

    def __init__(self, context, values):
        self.file = SceneFile()
        self.receivers, self.warnings = [], []
        self._context = context
        self._values = values
        self._uses_colors = not values.override
        self._numbers = {}  # of meshes in the file, by what they depend on
        self._materials = {}  # what was read of each
        self._textured = set()
        self._rendered = _rendered_objects(context.view_layer)

    def run(self):
        """Raises CollectError if nothing can be baked."""
        objects = self._choose()
        originals = {}
        for one in objects:  # each mesh is baked once
            originals.setdefault(one.data.name, one)
        depsgraph = self._context.evaluated_depsgraph_get()
        changed = [o for o in originals.values() if self._changes_corners(o, depsgraph)]
        with meshes.Tracks(o.data for o in changed):
            depsgraph = self._context.evaluated_depsgraph_get()
            for one in objects:
                self._add_receiver(one, one in changed, originals[one.data.name] is one, depsgraph)
            self._add_others(objects, depsgraph)
        if changed:
            self._context.view_layer.update()
        if not self.receivers:
            raise CollectError("nothing to bake: " + ("; ".join(self.warnings) or "no mesh has faces"))
        if self._textured and self._uses_colors:
            self.warnings.append("colours of textures are left out; the viewport display colour counts: " +
                                 ", ".join(sorted(self._textured)))

    def _choose(self):
        """The objects to bake. The active one comes first, because its use of a shared mesh counts."""
        context = self._context
        if self._values.scope == "SCENE":
            candidates = [o for o in context.view_layer.objects if o.type == "MESH" and self._is_rendered(o)
                          and o.visible_get()]
        else:
            candidates = [o for o in context.view_layer.objects if o.select_get()]
        chosen = []
        for one in sorted(candidates, key=lambda o: o is not context.view_layer.objects.active):
            if one.type != "MESH":
                self.warnings.append("%s is no mesh, so it only occludes" % one.name)
            elif one.data.library is not None:
                self.warnings.append("%s is linked from %s and cannot be changed, so it only occludes" %
                                     (one.name, one.data.library.filepath))
            elif one.mode in REFUSED_MODES:
                raise CollectError("%s is in %s; leave it (Tab), then bake" % (one.name, REFUSED_MODES[one.mode]))
            elif one.data.is_editmode:
                raise CollectError("%s: another object with this mesh is in Edit Mode; leave it (Tab), then bake" % one.name)
            elif len(one.data.polygons) == 0:
                self.warnings.append("%s has no faces" % one.name)
            else:
                chosen.append(one)
        if not chosen:
            raise CollectError("nothing to bake: " + ("; ".join(self.warnings) or (
                "select a mesh" if self._values.scope == "SELECTED" else "the scene has no visible mesh")))
        return chosen

    def _is_rendered(self, one):
        return not one.hide_render and (one.name, one.library) in self._rendered

    @staticmethod
    def _evaluated_mesh(evaluated, depsgraph):
        """The mesh of an evaluated object with its modifiers; None if it has none. Call to_mesh_clear() afterwards."""
        try:
            return evaluated.to_mesh(preserve_all_data_layers=True, depsgraph=depsgraph)
        except RuntimeError:
            return None

    def _changes_corners(self, one, depsgraph):
        if not one.modifiers:
            return False
        evaluated = one.evaluated_get(depsgraph)
        mesh = self._evaluated_mesh(evaluated, depsgraph)
        try:
            return mesh is not None and not meshes.has_same_corners(one.data, mesh)
        finally:
            evaluated.to_mesh_clear()

    def _slots(self, evaluated, mesh):
        """The number of the material of each slot."""
        numbers = []
        for material in materials.materials_of(evaluated, mesh):
            key = material.as_pointer() if material else 0
            if key not in self._materials:
                self._materials[key] = materials.read_material(material)
            color, is_blended, is_textured = self._materials[key]
            if is_textured:
                self._textured.add(material.name)
            numbers.append(self.file.add_material(color if self._uses_colors else (1, 1, 1), is_blended))
        return numbers

    def _key(self, one, evaluated, slots):
        """Uses with equal keys share one mesh of the file."""
        # Some parents deform their children as a modifier does.
        is_plain = one.type == "MESH" and not one.modifiers and one.mode == "OBJECT" and \
            one.parent_type not in {"ARMATURE", "LATTICE", "CURVE"}
        shared = one.data if is_plain else evaluated.data if one.type == "MESH" else one
        return (shared.as_pointer(), tuple(slots))

    def _add_receiver(self, one, is_tracked, is_first, depsgraph):
        evaluated = one.evaluated_get(depsgraph)
        mesh = self._evaluated_mesh(evaluated, depsgraph)
        try:
            if mesh is None or len(mesh.polygons) == 0:
                self.warnings.append("%s has no faces after its modifiers" % one.name)
                return
            slots = self._slots(evaluated, mesh)
            key = self._key(one, evaluated, slots)
            if key in self._numbers:  # another use of a mesh that is baked
                self.file.add_node(one.name, self._numbers[key], evaluated.matrix_world, True)
                return
            data = meshes.read_mesh(mesh)
            number = self.file.add_mesh(one.name, data, slots)
            if number is None:
                self.warnings.append("%s has no faces" % one.name)
                return
            self._numbers[key] = number
            self.file.add_node(one.name, number, evaluated.matrix_world, is_first)
            if not is_first:  # the same mesh after other modifiers: it occludes
                return
            receiver = Receiver(one.data, one.name)
            receiver.number = number
            receiver.data = data
            if is_tracked:
                found = meshes.find_corners(mesh, len(one.data.loops))
                receiver.found = meshes.fill_with_nearest(found, one.data, evaluated, mesh, depsgraph)
            self.receivers.append(receiver)
        finally:
            evaluated.to_mesh_clear()

    def _add_others(self, baked, depsgraph):
        """Everything visible that is not baked: other objects and instances as occluders, and the lights."""
        done = {o.as_pointer() for o in baked}
        left_out = set()
        for use in depsgraph.object_instances:
            evaluated = use.object
            source = evaluated.original
            shown_by = use.parent.original if use.is_instance and use.parent else source
            if not use.is_instance and (source.as_pointer() in done or not use.show_self):
                continue
            if source.hide_render or not self._is_rendered(shown_by):
                continue
            if evaluated.type == "LIGHT":
                light = lights.read_light(evaluated.data, self._values.millimetres / 1000)
                if light is None:
                    left_out.add(source.name)
                else:
                    self.file.add_light(source.name, use.matrix_world, light)
            elif evaluated.type in {"MESH", "CURVE", "CURVES", "SURFACE", "FONT", "META"}:
                self._add_occluder(source, evaluated, use, depsgraph)
        if left_out and self._values.mode != "classic":
            self.warnings.append("area lights are left out: " + ", ".join(sorted(left_out)))

    def _add_occluder(self, source, evaluated, use, depsgraph):
        slots = self._slots(evaluated, evaluated.data) if evaluated.type == "MESH" else self._slots(evaluated, source.data)
        # Instances that Geometry Nodes make have the object of the modifier, but data of another.
        is_made = use.is_instance and evaluated.type == "MESH" and evaluated.data != source.evaluated_get(depsgraph).data
        key = (evaluated.data.as_pointer(), tuple(slots)) if is_made else self._key(source, evaluated, slots)
        if key not in self._numbers:
            mesh = evaluated.data if is_made else self._evaluated_mesh(evaluated, depsgraph)
            if mesh is None:
                return
            try:
                self._numbers[key] = self.file.add_mesh(source.name, meshes.read_mesh(mesh), slots) \
                    if len(mesh.polygons) else None
            finally:
                if not is_made:
                    evaluated.to_mesh_clear()
        if self._numbers[key] is not None:
            self.file.add_node(source.name, self._numbers[key], use.matrix_world, False)
