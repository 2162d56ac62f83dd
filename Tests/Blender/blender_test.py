# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests the add-on in Blender without a window. Usage:

blender --background --factory-startup --threads 1 --python-exit-code 1 --python blender_test.py -- ZIP KTBAKE [TEST...]

One thread: with several, Blender's vertex normals differ in the last bits from one evaluation to the next, and so a ray may
hit another edge."""

import os
import sys
import time
import unittest

import bpy
import numpy as np

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from blender_helpers import (ARGUMENTS, InBlender, add_cube, add_floor, ao, bake, corners_of, everything_of, install,
                             ktbake_values, select, values)


class TestValues(InBlender):
    def test_given_cube_on_corners_equals_ktbake(self):
        cube, floor = add_cube(), add_floor()
        cube.rotation_euler = (0.1, 0.2, 0.3)
        select(cube)
        self.assertEqual(bake(domain="CORNER"), {"FINISHED"})
        expected, indirect = ktbake_values([cube], [floor], ("_AO", "_INDIRECT"))
        np.testing.assert_allclose(ao(cube), expected, atol=1e-6)
        np.testing.assert_allclose(values(cube.data, "Indirect", "vector", 3), indirect, atol=1e-6)
        light = values(cube.data, "Baked Light", "color", 4)
        np.testing.assert_allclose(light[:, :3], expected[:, None] + indirect, atol=1e-6)
        np.testing.assert_array_equal(light[:, 3], 1)
        self.assertEqual(cube.data.attributes["Baked Light"].data_type, "FLOAT_COLOR")
        self.assertNotIn("AO", floor.data.attributes)
        self.assertLess(expected.min(), 0.6)

    def test_given_cube_on_points_has_means_of_its_corners(self):
        cube, floor = add_cube(), add_floor()
        select(cube)
        bake(domain="POINT")
        expected, = ktbake_values([cube], [floor])
        vertices = np.array(corners_of(cube)[2])
        means = [expected[vertices == v].mean() for v in range(8)]  # all angles of a cube are equal
        np.testing.assert_allclose(ao(cube), means, atol=1e-6)

    def test_given_smooth_suzanne_on_points_equals_ktbake(self):
        bpy.ops.mesh.primitive_monkey_add()
        one = bpy.context.object
        bpy.ops.object.shade_smooth()
        bake(domain="POINT")
        expected, = ktbake_values([one])
        np.testing.assert_allclose(ao(one)[corners_of(one)[2]], expected, atol=1e-6)

    def test_given_suzanne_with_modifiers_has_the_values_of_its_evaluated_mesh(self):
        bpy.ops.mesh.primitive_monkey_add()
        one = bpy.context.object
        bpy.ops.object.shade_smooth()
        one.modifiers.new("Subdivision", "SUBSURF").levels = 2
        one.modifiers.new("Twist", "SIMPLE_DEFORM").angle = 0.5
        count = len(one.data.vertices)
        bake(domain="POINT")
        expected, = ktbake_values([one])
        vertices = np.array(corners_of(one)[2])
        of_vertex = np.zeros(vertices.max() + 1)
        of_vertex[vertices] = expected
        self.assertEqual(len(one.data.vertices), count)
        np.testing.assert_allclose(ao(one), of_vertex[:count], atol=1e-6)  # subdivision keeps the vertices, in order

    def test_given_mirror_and_array_keeps_the_original(self):
        cube = add_cube((0.5, 0.5, 0.5), 1)
        cube.modifiers.new("Array", "ARRAY").count = 3
        bake(domain="CORNER")
        expected, = ktbake_values([cube])
        self.assertEqual(len(expected), 72)
        np.testing.assert_allclose(ao(cube), expected[:24], atol=1e-6)

    def test_given_bevel_takes_the_nearest_corner(self):
        cube, _ = add_cube(), add_floor(-1)
        cube.modifiers.new("Bevel", "BEVEL").width = 0.1
        select(cube)
        bake(domain="POINT")
        low, high = ao(cube)[[v.co.z < 0 for v in cube.data.vertices]], ao(cube)[[v.co.z > 0 for v in cube.data.vertices]]
        self.assertGreater(high.min(), 0.95)
        self.assertLess(low.max(), 0.7)

    def test_given_shape_key_and_armature_free_deformation_traces_the_shape(self):
        cube, floor = add_cube(), add_floor(-3)
        cube.shape_key_add(name="Basis")
        key = cube.shape_key_add(name="Down")
        for point in key.data:
            point.co.z -= 1.9
        key.value = 1
        select(cube)
        bake()
        expected, = ktbake_values([cube], [floor])
        np.testing.assert_allclose(ao(cube), expected, atol=1e-6)
        self.assertLess(ao(cube).min(), 0.6)

    def test_given_custom_normals_traces_along_them(self):
        bpy.ops.mesh.primitive_uv_sphere_add()
        one = bpy.context.object
        if hasattr(one.data, "use_auto_smooth"):
            one.data.use_auto_smooth = True
        one.data.normals_split_custom_set([(0, 0, 1)] * len(one.data.loops))
        floor = add_floor(-1.5)
        select(one)
        bake()
        expected, = ktbake_values([one], [floor])
        np.testing.assert_allclose(ao(one), expected, atol=1e-6)

    def test_given_default_fit_bakes_all_corners(self):
        cube, _ = add_cube(), add_floor()
        select(cube)
        bake(fit="surface")
        expected, = ktbake_values([cube], [bpy.data.objects["Plane"]], options=["--fit=surface"])
        np.testing.assert_allclose(ao(cube), expected, atol=1e-6)

    def test_given_unit_scale_distances_follow(self):
        cube, _ = add_cube(), add_floor(-1.2)
        select(cube)
        shares = []
        for scale in (1.0, 0.001):
            bpy.context.scene.unit_settings.scale_length = scale
            bake(max_distance=0.1)  # in Blender's units
            shares.append(ao(cube).min())
        self.assertEqual(shares[0], 1)
        self.assertAlmostEqual(shares[0], shares[1], 6)
        bake(max_distance=5)
        self.assertLess(ao(cube).min(), 0.7)

    def test_given_sun_has_its_colour(self):
        cube = add_cube()
        bpy.ops.object.light_add(type="SUN", location=(0, 0, 5))
        bpy.context.object.data.energy = np.pi
        bpy.context.object.data.color = (1, 0.5, 0.25)
        select(cube)
        bake(mode="light-and-shadows", indirect=False)
        light = values(cube.data, "Baked Light", "color", 4)
        top = np.array(corners_of(cube)[1])[:, 2] > 0.5
        np.testing.assert_allclose(light[top, :3], [[1, 0.5, 0.25]] * 4, atol=0.01)
        np.testing.assert_allclose(light[~top, :3], 0, atol=0.01)

    def test_given_materials_bounce_their_colours(self):
        cube, floor = add_cube(), add_floor()
        red = bpy.data.materials.new("red")
        red.use_nodes = True
        red.node_tree.nodes["Principled BSDF"].inputs["Base Color"].default_value = (1, 0, 0, 1)
        floor.data.materials.append(red)
        select(cube)
        bake(color_bleeding=True, override=False)
        indirect = values(cube.data, "Indirect", "vector", 3)
        self.assertGreater(indirect[:, 0].max(), 0.05)
        self.assertLess(indirect[:, 1:].max(), 1e-5)
        # With the light multiplied into the material, the colour behind the node group counts.
        select(floor)
        bpy.ops.object.ktambientocclusion_add_shading()
        select(cube)
        bake(color_bleeding=True, override=False)
        np.testing.assert_array_equal(values(cube.data, "Indirect", "vector", 3), indirect)

    def test_given_million_triangles_bakes_them(self):
        bpy.ops.mesh.primitive_grid_add(x_subdivisions=708, y_subdivisions=708, size=20)
        grid = bpy.context.object
        points = np.empty(len(grid.data.vertices) * 3, np.float32)
        grid.data.vertices.foreach_get("co", points)
        points = points.reshape(-1, 3)
        points[:, 2] = np.sin(points[:, 0] * 3) * np.sin(points[:, 1] * 3) * 0.5
        grid.data.vertices.foreach_set("co", points.ravel())
        grid.data.update()
        bpy.ops.object.shade_smooth()
        start = time.perf_counter()
        bake(domain="POINT", indirect=False)
        seconds = time.perf_counter() - start
        grid.data.calc_loop_triangles()
        print("%d triangles, %.1f s" % (len(grid.data.loop_triangles), seconds), flush=True)
        self.assertGreater(len(grid.data.loop_triangles), 1000000)
        height = np.corrcoef(points[:, 2], ao(grid))[0, 1]
        self.assertGreater(height, 0.7)  # valleys are darker


class TestOccluders(InBlender):
    def occlusion(self, *others):
        """How dark a cube is."""
        select(self.cube)
        bake(indirect=False)
        return 1 - ao(self.cube).mean()

    def setUp(self):
        super().setUp()
        self.cube = add_cube()
        self.alone = self.occlusion()
        self.assertEqual(self.alone, 0)

    def test_given_hidden_objects_do_not_occlude(self):
        floor = add_floor()
        visible = self.occlusion()
        self.assertGreater(visible, 0.1)
        floor.hide_render = True
        self.assertEqual(self.occlusion(), 0)
        floor.hide_render = False
        floor.hide_set(True)
        self.assertEqual(self.occlusion(), 0)
        floor.hide_set(False)
        collection = bpy.data.collections.new("off")
        bpy.context.scene.collection.children.link(collection)
        bpy.context.scene.collection.objects.unlink(floor)
        collection.objects.link(floor)
        self.assertAlmostEqual(self.occlusion(), visible, 6)
        collection.hide_render = True
        self.assertEqual(self.occlusion(), 0)

    def test_given_curves_and_texts_occlude(self):
        bpy.ops.curve.primitive_bezier_circle_add(radius=2)
        bpy.context.object.data.bevel_depth = 0.5
        curve = self.occlusion()
        self.assertGreater(curve, 0.05)
        bpy.ops.object.text_add(location=(-1, 0, 1.2))
        bpy.context.object.data.extrude = 0.1
        bpy.context.object.data.body = "MMMM"
        self.assertGreater(self.occlusion(), curve + 0.005)

    def test_given_objects_that_share_a_curve_keep_their_modifiers(self):
        bpy.ops.curve.primitive_bezier_circle_add(radius=0.4, location=(0, 0, 1.5))
        first = bpy.context.object
        first.data.bevel_depth = 0.2
        second = first.copy()
        second.location = (1.5, 0, 0)
        bpy.context.scene.collection.objects.link(second)
        second.modifiers.new("Array", "ARRAY").count = 4
        second.modifiers["Array"].relative_offset_displace = (0, 0, 1)
        self.assertGreater(self.occlusion(), 0.01)
        expected, = ktbake_values([self.cube], [first, second])
        np.testing.assert_allclose(ao(self.cube), expected, atol=1e-6)

    def test_given_parent_that_deforms_occludes_where_it_is_seen(self):
        bpy.ops.object.add(type="LATTICE", location=(0, 0, 3))
        lattice = bpy.context.object
        for point in lattice.data.points:
            point.co_deform.x *= 3
        plain = add_cube((0, 0, 3), 1)
        moved = plain.copy()
        bpy.context.scene.collection.objects.link(moved)
        moved.parent, moved.parent_type = lattice, "LATTICE"
        moved.matrix_parent_inverse = lattice.matrix_world.inverted()
        bpy.context.scene.collection.objects.unlink(plain)
        wide = self.occlusion()
        expected, = ktbake_values([self.cube], [moved])
        np.testing.assert_allclose(ao(self.cube), expected, atol=1e-6)
        moved.parent_type = "OBJECT"
        self.assertLess(self.occlusion(), wide - 0.001)

    def test_given_modifiers_of_others_occlude(self):
        bpy.ops.mesh.primitive_plane_add(location=(0, 0, 3), size=4)
        before = self.occlusion()
        bpy.context.view_layer.objects.active = bpy.data.objects["Plane"]
        solid = bpy.data.objects["Plane"].modifiers.new("Solidify", "SOLIDIFY")
        solid.thickness = 1.5
        self.assertGreater(self.occlusion(), before + 0.05)

    def test_given_collection_instance_occludes_like_the_real_objects(self):
        floor = add_floor()
        real = self.occlusion()
        collection = bpy.data.collections.new("part")
        bpy.context.scene.collection.objects.unlink(floor)
        collection.objects.link(floor)
        self.assertEqual(self.occlusion(), 0)
        bpy.ops.object.collection_instance_add(collection="part")
        bpy.context.object.location = (0, 0, 0)
        self.assertAlmostEqual(self.occlusion(), real, 6)
        bpy.context.view_layer.objects.active = bpy.data.objects["part"]
        bpy.data.objects["part"].hide_render = True
        self.assertEqual(self.occlusion(), 0)

    def test_given_instances_on_vertices_occlude(self):
        bpy.ops.mesh.primitive_plane_add(location=(0, 0, 1.6), size=2)
        parent = bpy.context.object
        child = add_cube((0, 0, 1.6), 0.8)
        child.parent = parent
        child.matrix_parent_inverse = parent.matrix_world.inverted()
        parent.instance_type = "VERTS"
        parent.show_instancer_for_render = False
        parent.show_instancer_for_viewport = False
        occlusion = self.occlusion()
        self.assertGreater(occlusion, 0.02)
        parent.instance_type = "NONE"
        self.assertNotAlmostEqual(self.occlusion(), occlusion, 3)

    def test_given_geometry_nodes_instances_occlude(self):
        tree = bpy.data.node_groups.new("instances", "GeometryNodeTree")
        if hasattr(tree, "interface"):
            tree.interface.new_socket("Geometry", in_out="OUTPUT", socket_type="NodeSocketGeometry")
        else:
            tree.outputs.new("NodeSocketGeometry", "Geometry")
        points, cube = tree.nodes.new("GeometryNodeMeshLine"), tree.nodes.new("GeometryNodeMeshCube")
        points.inputs["Count"].default_value = 3
        points.inputs["Start Location"].default_value = (-1, 0, 1.8)
        points.inputs["Offset"].default_value = (1, 0, 0)
        place, out = tree.nodes.new("GeometryNodeInstanceOnPoints"), tree.nodes.new("NodeGroupOutput")
        real = tree.nodes.new("GeometryNodeRealizeInstances")
        tree.links.new(points.outputs[0], place.inputs["Points"])
        tree.links.new(cube.outputs[0], place.inputs["Instance"])
        tree.links.new(place.outputs[0], out.inputs[0])
        bpy.ops.mesh.primitive_plane_add()
        bpy.context.object.modifiers.new("nodes", "NODES").node_group = tree
        self.occlusion()
        instances = ao(self.cube)
        tree.links.new(place.outputs[0], real.inputs[0])
        tree.links.new(real.outputs[0], out.inputs[0])
        self.assertGreater(self.occlusion(), 0.03)
        np.testing.assert_allclose(ao(self.cube), instances, atol=1e-6)

    def test_given_mirrored_and_stretched_neighbour_occludes_as_written_out(self):
        bpy.ops.mesh.primitive_monkey_add(location=(2.5, 0, 0))
        other = bpy.context.object
        other.scale = (-1.5, 1, 0.7)
        mirrored = self.occlusion()
        expected, = ktbake_values([self.cube], [other])
        np.testing.assert_allclose(ao(self.cube), expected, atol=1e-6)
        self.assertGreater(mirrored, 0.01)

    def test_given_transparent_material_does_not_occlude(self):
        floor = add_floor()
        glass = bpy.data.materials.new("glass")
        glass.use_nodes = True
        floor.data.materials.append(glass)
        self.assertGreater(self.occlusion(), 0.1)
        glass.node_tree.nodes["Principled BSDF"].inputs["Alpha"].default_value = 0.5
        self.assertEqual(self.occlusion(), 0)

    def test_given_two_users_of_a_mesh_bakes_it_once_at_the_active_one(self):
        add_floor()
        self.occlusion()
        alone = ao(self.cube)
        copy = self.cube.copy()
        copy.location = (0, 0, 5)
        bpy.context.scene.collection.objects.link(copy)
        select(copy, self.cube)
        bake(indirect=False)
        far = ao(self.cube)
        self.assertGreater(far.mean(), alone.mean() + 0.05)
        select(self.cube, copy)
        bake(indirect=False)
        self.assertLess(ao(self.cube).mean(), far.mean() - 0.05)

    def test_given_scene_bakes_all_visible_meshes(self):
        floor, hidden = add_floor(), add_cube((5, 0, 0))
        hidden.hide_render = True
        select()
        bake(scope="SCENE")
        self.assertIn("AO", floor.data.attributes)
        self.assertIn("AO", self.cube.data.attributes)
        self.assertNotIn("AO", hidden.data.attributes)


class TestMesh(InBlender):
    def make(self):
        bpy.ops.mesh.primitive_monkey_add()
        one = bpy.context.object
        for index, polygon in enumerate(one.data.polygons):
            polygon.use_smooth = index % 3 > 0
        one.data.color_attributes.new("Mine", "BYTE_COLOR", "CORNER")
        one.data.attributes.new("Weight", "FLOAT", "POINT")
        one.data.attributes.active_index = 0
        one.data.materials.append(bpy.data.materials.new("m"))
        one.modifiers.new("Subdivision", "SUBSURF").levels = 1
        return one

    def test_given_bake_changes_nothing_else(self):
        one = self.make()
        before = everything_of(one.data)
        bake()
        self.assertEqual(everything_of(one.data), before)
        self.assertEqual([m.type for m in one.modifiers], ["SUBSURF"])
        self.assertEqual(one.data.color_attributes.active_color.name, "Mine")
        bpy.ops.object.ktambientocclusion_remove()
        self.assertEqual(everything_of(one.data), before)
        self.assertEqual([n for n in ("AO", "Indirect", "Baked Light") if n in one.data.attributes], [])

    def test_given_undo_and_redo_follows(self):
        self.make()
        bpy.ops.ed.undo_push(message="Suzanne")
        bake()
        first = ao(bpy.data.objects["Suzanne"])
        bpy.ops.ed.undo()
        self.assertNotIn("AO", bpy.data.objects["Suzanne"].data.attributes)
        self.assertIn("Mine", bpy.data.objects["Suzanne"].data.attributes)
        bpy.ops.ed.redo()
        np.testing.assert_array_equal(ao(bpy.data.objects["Suzanne"]), first)

    def test_given_other_domain_replaces_the_results(self):
        one = self.make()
        bake(domain="CORNER")
        bake(domain="POINT")
        self.assertEqual(one.data.attributes["AO"].domain, "POINT")
        self.assertEqual(one.data.attributes["Baked Light"].domain, "POINT")
        bake(domain="POINT")
        self.assertEqual(len([a for a in one.data.attributes if a.name.startswith("AO")]), 1)

    def test_given_exposure_and_strength_shape_the_colours(self):
        cube, _ = add_cube(), add_floor()
        select(cube)
        bake(exposure=0.5, strength=2, indirect=False)
        light = values(cube.data, "Baked Light", "color", 4)
        np.testing.assert_allclose(light[:, 0], (ao(cube) * 0.5)**2, atol=1e-6)

    def test_given_loose_vertices_are_open(self):
        mesh = bpy.data.meshes.new("m")
        mesh.from_pydata([(0, 0, 0), (1, 0, 0), (0, 1, 0), (5, 5, 5)], [], [(0, 1, 2)])
        one = bpy.data.objects.new("m", mesh)
        bpy.context.scene.collection.objects.link(one)
        select(one)
        bake(domain="POINT")
        self.assertEqual(ao(one)[3], 1)

    def test_given_edit_mode_tells_what_to_do(self):
        self.make()
        bpy.ops.object.mode_set(mode="EDIT")
        self.assert_fails("Suzanne is in Edit Mode; leave it")
        bpy.ops.object.mode_set(mode="OBJECT")

    def test_given_nothing_to_bake_tells_why(self):
        select()
        self.assert_fails("select a mesh")
        empty = bpy.data.objects.new("hull", bpy.data.meshes.new("hull"))
        bpy.context.scene.collection.objects.link(empty)
        select(empty)
        self.assert_fails("hull has no faces")
        bpy.ops.object.text_add()
        self.assert_fails("Text is no mesh")

    def test_given_empty_meshes_among_others_bakes_the_others(self):
        empty = bpy.data.objects.new("hull", bpy.data.meshes.new("hull"))
        bpy.context.scene.collection.objects.link(empty)
        cube = add_cube()
        select(cube, empty)
        self.assertEqual(bake(), {"FINISHED"})
        self.assertIn("AO", cube.data.attributes)

    def test_given_attribute_of_another_type_keeps_it(self):
        one = self.make()
        one.data.attributes.new("AO", "INT", "POINT")
        self.assert_fails("attribute \"AO\" of another type")
        self.assertEqual(one.data.attributes["AO"].data_type, "INT")
        self.assertNotIn("Indirect", one.data.attributes)

    def test_given_wrong_program_tells_it(self):
        self.make()
        preferences = bpy.context.preferences.addons["ktambientocclusion"].preferences
        preferences.program = "/nowhere/ktbake"
        self.assert_fails("/nowhere/ktbake: is no program")

    def test_given_failing_bake_tells_the_reason_and_changes_nothing(self):
        one = self.make()
        before = everything_of(one.data)
        self.assert_fails("light", mode="light-and-shadows")
        self.assertEqual(everything_of(one.data), before)
        self.assertNotIn("AO", one.data.attributes)

    def test_given_results_no_files_stay(self):
        before = set(os.listdir(bpy.app.tempdir))
        self.make()
        bake()
        self.assertEqual(set(os.listdir(bpy.app.tempdir)), before)


class TestShading(InBlender):
    def make(self):
        cube, _ = add_cube(), add_floor()
        material = bpy.data.materials.new("paint")
        material.use_nodes = True
        material.node_tree.nodes["Principled BSDF"].inputs["Base Color"].default_value = (0.8, 0.4, 0.2, 1)
        cube.data.materials.append(material)
        select(cube)
        return cube, material

    def test_given_button_multiplies_once_and_takes_back(self):
        cube, material = self.make()
        nodes = [n.name for n in material.node_tree.nodes]
        bake(use_shading=True)
        bpy.ops.object.ktambientocclusion_add_shading()
        groups = [n for n in material.node_tree.nodes if n.type == "GROUP"]
        self.assertEqual(len(groups), 1)
        socket = material.node_tree.nodes["Principled BSDF"].inputs["Base Color"]
        self.assertEqual(socket.links[0].from_node, groups[0])
        np.testing.assert_allclose(groups[0].inputs[0].default_value, (0.8, 0.4, 0.2, 1), rtol=1e-6)
        bpy.ops.object.ktambientocclusion_remove_shading()
        self.assertEqual([n.name for n in material.node_tree.nodes], nodes)
        self.assertFalse(socket.is_linked)
        np.testing.assert_allclose(socket.default_value, (0.8, 0.4, 0.2, 1), rtol=1e-6)

    def test_given_bake_alone_leaves_materials(self):
        _, material = self.make()
        bake()
        self.assertEqual([n for n in material.node_tree.nodes if n.type == "GROUP"], [])

    def test_given_cycles_shows_colour_times_light(self):
        """Cycles bakes the colour behind the node group; a mesh without the attribute keeps its colour."""
        cube, material = self.make()
        bake(use_shading=True)
        tree = material.node_tree
        emission = tree.nodes.new("ShaderNodeEmission")
        tree.links.new([n for n in tree.nodes if n.type == "GROUP"][0].outputs[0], emission.inputs["Color"])
        tree.links.new(emission.outputs[0], tree.nodes["Material Output"].inputs["Surface"])
        light = values(cube.data, "Baked Light", "color", 4)[:, :3]
        scene = bpy.context.scene
        scene.render.engine = "CYCLES"
        scene.cycles.samples = 1
        scene.cycles.use_denoising = False  # Debian's build has no denoiser, and bakes nothing if it is on
        for has_light in (True, False):
            if not has_light:
                bpy.ops.object.ktambientocclusion_remove()
            shown = cube.data.color_attributes.new("Shown", "FLOAT_COLOR", "CORNER")
            cube.data.color_attributes.active_color = shown
            bpy.ops.object.bake(type="EMIT", target="VERTEX_COLORS")
            expected = np.float32([0.8, 0.4, 0.2]) * (light if has_light else 1)
            got = values(cube.data, "Shown", "color", 4)[:, :3]
            np.testing.assert_allclose(got, np.broadcast_to(expected, got.shape), atol=2e-3)
            cube.data.attributes.remove(cube.data.attributes["Shown"])


class TestPresets(InBlender):
    def test_given_preset_sets_the_scene_and_is_saved(self):
        settings = bpy.context.scene.ktambientocclusion
        settings.shadow_quality = "4"
        settings.use_max_distance = True
        settings.max_distance = 0.25
        settings.bounces = 3
        bpy.ops.scene.ktambientocclusion_save_preset(name="From Blender")
        settings.shadow_quality = "0"
        settings.max_distance = 7
        bpy.context.scene.unit_settings.scale_length = 0.1
        bpy.ops.scene.ktambientocclusion_load_preset(name="From Blender")
        self.assertEqual((settings.shadow_quality, settings.bounces), ("4", 3))
        self.assertAlmostEqual(settings.max_distance, 2.5, 5)
        with self.assertRaisesRegex(RuntimeError, "reset"):
            bpy.ops.scene.ktambientocclusion_load_preset(name="None such")

    def test_given_scene_settings_the_operator_takes_them(self):
        cube, _ = add_cube(), add_floor()
        select(cube)
        bpy.context.scene.ktambientocclusion.domain = "POINT"
        bpy.context.scene.ktambientocclusion.color_name = "Light"
        bpy.ops.object.ktambientocclusion_bake(shadow_quality="0")
        self.assertEqual(cube.data.attributes["Light"].domain, "POINT")


class TestAddon(InBlender):
    def test_given_disabled_and_enabled_again_works(self):
        bpy.ops.preferences.addon_disable(module="ktambientocclusion")
        self.assertFalse(hasattr(bpy.types.Scene, "ktambientocclusion"))
        install()
        add_cube()
        self.assertEqual(bake(), {"FINISHED"})


if __name__ == "__main__":
    result = unittest.main(argv=["blender_test"] + ARGUMENTS[2:], exit=False).result
    failed = len(result.failures) + len(result.errors)
    print("blender_test: %d of %d tests passed" % (result.testsRun - failed, result.testsRun))
    if not result.wasSuccessful():
        sys.exit(1)
