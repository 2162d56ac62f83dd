# SPDX-License-Identifier: LGPL-2.1-or-later
"""Stores light in the attributes of a mesh. Nothing else of the mesh changes."""

import numpy as np

from .core.corners import mean_at_points
from .core.light import Light, shown
from .meshes import corner_vertices

AO = "AO"
INDIRECT = "Indirect"


def attributes(color_name):
    """Names of the attributes with the results, each with its type and the name of its value."""
    return {AO: ("FLOAT", "value"), INDIRECT: ("FLOAT_VECTOR", "vector"), color_name: ("FLOAT_COLOR", "color")}


def check(mesh, color_name):
    """Raises ValueError if the names are not free for the results."""
    if color_name in ("", AO, INDIRECT):
        raise ValueError("the colour attribute needs a name other than %s and %s" % (AO, INDIRECT))
    for name, (kind, _) in attributes(color_name).items():
        existing = mesh.attributes.get(name)
        if existing is not None and existing.data_type != kind:
            raise ValueError("mesh %s has an attribute \"%s\" of another type; rename it" % (mesh.name, name))


def at_points(mesh, light, weights):
    """Values of the points of a mesh from those of its corners."""
    vertices = corner_vertices(mesh)
    return Light(*(mean_at_points(values, vertices, weights, len(mesh.vertices), missing) for values, missing in
                   zip(light.arrays(), (1, 0, 1))))


def _write(mesh, name, kind, member, domain, values):
    existing = mesh.attributes.get(name)
    if existing is not None and existing.domain != domain:
        mesh.attributes.remove(existing)
        existing = None
    attribute = existing or mesh.attributes.new(name, kind, domain)
    attribute.data.foreach_set(member, np.ascontiguousarray(values, np.float32).ravel())


def store(mesh, light, domain, color_name, exposure, strength):
    """Writes the attributes.

    light: over the points or the corners, as the domain says
    """
    check(mesh, color_name)
    colors = np.ones((len(light.light), 4), np.float32)
    colors[:, :3] = shown(light.light, exposure, strength)
    active, colors_before = mesh.attributes.active_index, _active_colors(mesh)
    for (name, (kind, member)), values in zip(attributes(color_name).items(), (light.ao, light.indirect, colors)):
        _write(mesh, name, kind, member, domain, values)
    if active >= 0:
        mesh.attributes.active_index = active
    _activate_colors(mesh, colors_before)
    mesh.update_tag()


def _active_colors(mesh):
    """The names of the colour attributes that the viewport and renders show. Blender changes them with a new one."""
    names = [attribute.name for attribute in mesh.color_attributes]
    indices = (mesh.color_attributes.active_color_index, mesh.color_attributes.render_color_index)
    return [names[i] if 0 <= i < len(names) else None for i in indices]


def _activate_colors(mesh, names):
    for member, name in zip(("active_color_index", "render_color_index"), names):
        index = mesh.color_attributes.find(name) if name else -1
        if index >= 0:
            setattr(mesh.color_attributes, member, index)


def remove(mesh, color_name):
    """Removes the attributes of a bake. Returns their number."""
    count, colors = 0, _active_colors(mesh)
    for name, (kind, _) in attributes(color_name).items():
        existing = mesh.attributes.get(name)
        if existing is not None and existing.data_type == kind:
            mesh.attributes.remove(existing)
            count += 1
    if count:
        _activate_colors(mesh, colors)
        mesh.update_tag()
    return count
