# SPDX-License-Identifier: LGPL-2.1-or-later
"""The node group that multiplies the baked light into the colour of a material."""

import bpy

from . import materials, results

NAME = "Baked Light"


def _add_sockets(tree):
    if hasattr(tree, "interface"):  # Blender 4.0 and later
        tree.interface.new_socket("Color", in_out="INPUT", socket_type="NodeSocketColor")
        tree.interface.new_socket("Color", in_out="OUTPUT", socket_type="NodeSocketColor")
    else:
        tree.inputs.new("NodeSocketColor", "Color")
        tree.outputs.new("NodeSocketColor", "Color")


def node_group(color_name):
    """The node group for a colour attribute; a new one if there is none.

    A mesh without results keeps its colour. An attribute that is missing is 0 in shaders, and a baked "AO" is never 0."""
    for tree in bpy.data.node_groups:
        if tree.library is None and tree.get(materials.GROUP_MARK) == color_name:
            return tree
    tree = bpy.data.node_groups.new(NAME, "ShaderNodeTree")
    tree[materials.GROUP_MARK] = color_name
    _add_sockets(tree)
    nodes, links = tree.nodes, tree.links
    source, target = nodes.new("NodeGroupInput"), nodes.new("NodeGroupOutput")
    light = nodes.new("ShaderNodeAttribute")
    light.attribute_name = color_name
    occlusion, is_baked = nodes.new("ShaderNodeAttribute"), nodes.new("ShaderNodeMath")
    occlusion.attribute_name = results.AO
    is_baked.operation = "GREATER_THAN"
    is_baked.inputs[1].default_value = 1e-7
    steps = []
    for operation in ("SUBTRACT", "SCALE", "ADD", "MULTIPLY"):  # color * (1 + is_baked * (light - 1))
        step = nodes.new("ShaderNodeVectorMath")
        step.operation = operation
        step.inputs[1].default_value = (1, 1, 1)
        steps.append(step)
    links.new(light.outputs["Color"], steps[0].inputs[0])
    links.new(occlusion.outputs["Fac"], is_baked.inputs[0])
    links.new(is_baked.outputs[0], steps[1].inputs["Scale"])
    for before, after in zip(steps, steps[1:]):
        links.new(before.outputs[0], after.inputs[0])
    links.new(source.outputs[0], steps[3].inputs[1])
    links.new(steps[3].outputs[0], target.inputs[0])
    for column, node in enumerate([light] + steps + [target]):
        node.location = (200 * column, 0)
    for node, place in ((occlusion, (-200, -250)), (is_baked, (0, -250)), (source, (600, -250))):
        node.location = place
    return tree


def add_to_material(material, color_name):
    """Multiplies the light into the colours of a material. Returns the number of colours that changed."""
    count = 0
    for node, socket in materials.surface_nodes(material):
        if socket.is_linked and materials.is_our_group(socket.links[0].from_node):
            group = socket.links[0].from_node
            count += group.node_tree.get(materials.GROUP_MARK) != color_name
            group.node_tree = node_group(color_name)
            continue
        tree = material.node_tree
        group = tree.nodes.new("ShaderNodeGroup")
        group.node_tree = node_group(color_name)
        group.location = (node.location.x - 200, node.location.y)
        if socket.is_linked:
            tree.links.new(socket.links[0].from_socket, group.inputs[0])
        else:
            group.inputs[0].default_value = socket.default_value
        tree.links.new(group.outputs[0], socket)
        count += 1
    return count


def remove_from_material(material):
    """Takes the light out of the colours of a material. Returns the number of colours that changed."""
    count = 0
    if not material.use_nodes or material.node_tree is None:
        return count
    tree = material.node_tree
    for group in [n for n in tree.nodes if materials.is_our_group(n)]:
        source = group.inputs[0]
        for link in list(group.outputs[0].links):
            target = link.to_socket
            if source.is_linked:
                tree.links.new(source.links[0].from_socket, target)
            else:
                tree.links.remove(link)
                target.default_value = source.default_value
            count += 1
        tree.nodes.remove(group)
    return count


def materials_of(objects):
    """The materials of objects that can be changed, each once, and the names of objects without any."""
    found, without = {}, []
    for one in objects:
        own = [slot.material for slot in one.material_slots if slot.material and slot.material.library is None]
        if not own:
            without.append(one.name)
        found.update((material.name, material) for material in own)
    return list(found.values()), without


def _selected_meshes(context):
    return [o for o in context.selected_objects if o.type == "MESH"]


class _OnSelectedMeshes:
    @classmethod
    def poll(cls, context):
        return bool(_selected_meshes(context))


class KtAddShading(_OnSelectedMeshes, bpy.types.Operator):
    """Multiply the baked light into the colours of the materials of the selected meshes"""

    bl_idname = "object.ktambientocclusion_add_shading"
    bl_label = "Multiply into Materials"
    bl_options = {"REGISTER", "UNDO"}

    def execute(self, context):
        return report_added(self, _selected_meshes(context), context.scene.ktambientocclusion.color_name)


def report_added(operator, objects, color_name):
    """Adds the light to the materials of objects, and tells what was done. Returns the operator's result."""
    found, without = materials_of(objects)
    nodeless = [m.name for m in found if not materials.surface_nodes(m)]
    changed = sum(add_to_material(material, color_name) > 0 for material in found)
    if without:
        operator.report({"WARNING"}, "Without a material: " + ", ".join(without))
    if nodeless:
        operator.report({"WARNING"}, "Without a surface shader that has a colour: " + ", ".join(nodeless))
    operator.report({"INFO"}, "Baked light added to %d materials" % changed)
    return {"FINISHED"}


class KtRemoveShading(_OnSelectedMeshes, bpy.types.Operator):
    """Take the baked light out of the materials of the selected meshes"""

    bl_idname = "object.ktambientocclusion_remove_shading"
    bl_label = "Remove from Materials"
    bl_options = {"REGISTER", "UNDO"}

    def execute(self, context):
        found, _ = materials_of(_selected_meshes(context))
        changed = sum(remove_from_material(material) > 0 for material in found)
        self.report({"INFO"}, "Baked light removed from %d materials" % changed)
        return {"FINISHED"}


CLASSES = (KtAddShading, KtRemoveShading)
