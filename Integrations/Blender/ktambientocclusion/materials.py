# SPDX-License-Identifier: LGPL-2.1-or-later
"""Reads the colour and the transparency of materials."""

GROUP_MARK = "ktambientocclusion"  # custom property of our node group

# Of the node: its socket with the colour, by preference.
_COLOR_SOCKETS = {"BSDF_PRINCIPLED": "Base Color", "BSDF_DIFFUSE": "Color", "BSDF_GLOSSY": "Color",
                  "BSDF_ANISOTROPIC": "Color", "BSDF_TOON": "Color", "SUBSURFACE_SCATTERING": "Color",
                  "BSDF_TRANSLUCENT": "Color", "BSDF_VELVET": "Color", "BSDF_SHEEN": "Color"}


def surface_nodes(material):
    """The nodes of a material with a colour of the surface, each with its socket. Those that the output uses come first."""
    if not material.use_nodes or material.node_tree is None:
        return []
    used, waiting = [], [n for n in material.node_tree.nodes if n.type == "OUTPUT_MATERIAL" and n.is_active_output]
    while waiting:
        node = waiting.pop(0)
        if node in used:
            continue
        used.append(node)
        sockets = [s for s in node.inputs if node.type != "OUTPUT_MATERIAL" or s.name == "Surface"]
        waiting += [link.from_node for socket in sockets for link in socket.links]
    return [(n, n.inputs[_COLOR_SOCKETS[n.type]]) for n in used
            if n.type in _COLOR_SOCKETS and _COLOR_SOCKETS[n.type] in n.inputs]


def is_our_group(node):
    return node.type == "GROUP" and node.node_tree is not None and GROUP_MARK in node.node_tree


def _constant(socket):
    """The colour of a socket; None if it comes from a texture or another calculation."""
    for _ in range(100):  # nodes that only pass a colour on
        if not socket.is_linked:
            return tuple(socket.default_value)[:3]
        node = socket.links[0].from_node
        if is_our_group(node):
            socket = node.inputs[0]
        elif node.type == "REROUTE":
            socket = node.inputs[0]
        elif node.type == "RGB":
            return tuple(node.outputs[0].default_value)[:3]
        else:
            return None
    return None


def _value(node, *names):
    """The value of the first of these inputs that exists; 0 if there is none, or a texture sets it."""
    for name in names:
        if name in node.inputs:
            socket = node.inputs[name]
            return 0.0 if socket.is_linked else float(socket.default_value)
    return 0.0


def read_material(material):
    """The linear base colour, whether the material is transparent, and whether a texture sets its colour.

    A texture is left out: the colour is then that of the viewport display. None is a white material.
    """
    if material is None:
        return (1.0, 1.0, 1.0), False, False
    display = tuple(material.diffuse_color)[:3]
    nodes = surface_nodes(material)
    if not nodes:
        return display, False, False
    node, socket = nodes[0]
    transparent = False
    if node.type == "BSDF_PRINCIPLED":
        alpha = node.inputs["Alpha"]
        transparent = (not alpha.is_linked and alpha.default_value < 1) or \
            _value(node, "Transmission Weight", "Transmission") > 0
    color = _constant(socket)
    return (display if color is None else color), transparent, color is None


def materials_of(evaluated_object, mesh):
    """The material of each slot."""
    slots = getattr(evaluated_object, "material_slots", None)
    if slots is not None and len(slots):
        return [slot.material for slot in slots]
    return list(mesh.materials)
