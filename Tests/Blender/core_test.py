# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests the parts of the Blender add-on that do not need Blender. Usage: core_test.py ADDON KTBAKE"""

import os
import subprocess
import sys
import tempfile
import unittest

import numpy as np

ADDON, KTBAKE = sys.argv[1:3]
sys.path.insert(0, ADDON)

from core import corners, description, glb, light, process, tracking
from core.scene_file import SceneFile
from plain_gltf import write_gltf

DESCRIPTION = description.Description()


def make_box(smooth=False):
    """A cube of edge 2 as MeshData, with flat or smooth normals."""
    points = np.float32([[x, y, z] for x in (-1, 1) for y in (-1, 1) for z in (-1, 1)])
    faces, normals = [], []
    for axis in range(3):
        for side in (-1, 1):
            a, b = (axis + 1) % 3, (axis + 2) % 3
            face = []
            for u, v in ((-1, -1), (1, -1), (1, 1), (-1, 1)):
                place = [0, 0, 0]
                place[axis], place[a], place[b] = side, u, v
                face.append(int(np.nonzero((points == np.float32(place)).all(axis=1))[0][0]))
            faces += face if side > 0 else face[::-1]
            normals += [np.eye(3)[axis] * side] * 4
    vertices = np.int32(faces)
    normals = points[vertices] / np.float32(np.sqrt(3)) if smooth else np.float32(normals)
    first = np.arange(0, 24, 4)
    triangles = np.int32(np.stack([np.stack([first, first + 1, first + 2], 1),
                                   np.stack([first, first + 2, first + 3], 1)], 1).reshape(-1, 3))
    return corners.MeshData(points, vertices, np.float32(normals), triangles, np.zeros(len(triangles), np.int32))


def make_grid(n):
    """A wavy square of n x n faces in the plane z = 0, smooth."""
    x, y = np.meshgrid(np.arange(n + 1), np.arange(n + 1), indexing="ij")
    points = np.float32(np.stack([x, y, np.sin(x / 3.0) * np.cos(y / 4.0)], axis=-1).reshape(-1, 3) * [0.1, 0.1, 0.5])
    first = (x[:-1, :-1] * (n + 1) + y[:-1, :-1]).ravel()
    vertices = np.int32(np.stack([first, first + n + 1, first + n + 2, first + 1], axis=1).ravel())
    corner = np.arange(0, len(vertices), 4)
    triangles = np.int32(np.stack([np.stack([corner, corner + 1, corner + 2], 1),
                                   np.stack([corner, corner + 2, corner + 3], 1)], 1).reshape(-1, 3))
    normals = np.zeros((len(vertices), 3), np.float32)
    normals[:, 2] = 1
    return corners.MeshData(points, vertices, normals, triangles, np.zeros(len(triangles), np.int32))


def move(x, y, z, scale=1.0):
    matrix = np.eye(4) * [scale, scale, scale, 1]
    matrix[:3, 3] = x, y, z
    return matrix


def bake(folder, scene, values, fit="vertices", millimetres=1000):
    """Bakes a SceneFile. Returns the path of the result."""
    path, output = os.path.join(folder, "scene.glb"), os.path.join(folder, "baked.glb")
    selected = scene.write(path)
    run = process.Run(KTBAKE, description.bake_arguments(DESCRIPTION, values, path, output, selected, millimetres, fit))
    run.wait(120)
    assert run.exit_code == 0, (run.failure, run.warnings)
    return output


class Folder(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = temporary.name

    def path(self, name):
        return os.path.join(self.folder, name)


class TestDescription(Folder):
    def test_given_the_build_lists_all_but_refinement(self):
        groups = DESCRIPTION.groups()
        self.assertEqual(list(groups), ["Shadows", "Indirect light"])
        names = {s.name for s in DESCRIPTION.settings}
        self.assertLessEqual({"shadow_quality", "max_distance", "mode", "bounces", "override_color"}, names)
        help_text = subprocess.run([KTBAKE, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout
        for setting in DESCRIPTION.settings:
            for option in ([setting.on, setting.off] if setting.kind == "switch" else ["--" + setting.option]):
                self.assertIn(option, help_text)

    def test_given_qualities_names_their_rays(self):
        by_name = {s.name: s for s in DESCRIPTION.settings}
        self.assertEqual(by_name["shadow_quality"].levels[by_name["shadow_quality"].initial], "1024 rays")
        self.assertEqual(by_name["gather_quality"].levels[by_name["gather_quality"].initial], "1024 rays")
        self.assertEqual(by_name["bounces"].levels, [])

    def test_given_initial_values_bakes_as_without_options(self):
        results = []
        for values in ({}, {s.name: None if s.kind == "length" else s.initial for s in DESCRIPTION.settings}):
            scene = SceneFile()
            box = make_box()
            number = scene.add_mesh("box", box, [])
            scene.add_node("box", number, move(0, 0, 0), True)
            scene.add_node("other", number, move(2.5, 0, 0), False)
            results.append(scene.read_results(bake(self.folder, scene, values), number, 24, False))
        for a, b in zip(results[0].arrays(), results[1].arrays()):
            np.testing.assert_array_equal(a, b)
        self.assertGreater(results[0].indirect.max(), 0.05)

    def test_given_values_writes_each_option(self):
        values = {"shadow_quality": "3", "min_distance": None, "max_distance": 123.45, "indirect": False,
                  "override": True, "override_color": (0.5, 0.25, 1), "color_bleeding": True}
        self.assertEqual(description.setting_arguments(DESCRIPTION, values), [
            "--shadow-quality", "3", "--max-distance", "123.45", "--no-indirect", "--color-bleeding",
            "--override-color", "0.5,0.25,1"])
        values = {"override": False, "override_color": (0.5, 0.25, 1)}
        self.assertEqual(description.setting_arguments(DESCRIPTION, values), ["--no-override-color"])


class TestCorners(unittest.TestCase):
    def test_given_flat_faces_splits_each_corner(self):
        box = make_box()
        joined, first = corners.join_corners(box.corner_vertices, box.corner_normals)
        self.assertEqual(len(first), 24)
        np.testing.assert_array_equal(np.sort(joined), np.arange(24))
        np.testing.assert_array_equal(first[joined], np.arange(24))

    def test_given_smooth_faces_joins_corners(self):
        box = make_box(smooth=True)
        joined, first = corners.join_corners(box.corner_vertices, box.corner_normals)
        self.assertEqual(len(first), 8)
        np.testing.assert_array_equal(box.corner_vertices[first[joined]], box.corner_vertices)

    def test_given_random_normals_keeps_vertex_and_normal(self):
        random = np.random.default_rng(1)
        vertices = random.integers(0, 50, 2000).astype(np.int32)
        normals = random.integers(0, 3, (2000, 3)).astype(np.float32)
        joined, first = corners.join_corners(vertices, normals)
        np.testing.assert_array_equal(vertices[first[joined]], vertices)
        np.testing.assert_array_equal(normals[first[joined]], normals)
        self.assertEqual(len(first), len({(v, *n) for v, n in zip(vertices.tolist(), normals.tolist())}))

    def test_given_normals_that_are_no_numbers_ends(self):
        joined, _ = corners.join_corners(np.zeros(4, np.int32), np.full((4, 3), np.nan, np.float32))
        np.testing.assert_array_equal(joined, 0)

    def test_given_box_angles_are_right(self):
        np.testing.assert_allclose(corners.corner_angles(make_box()), np.pi / 2, rtol=1e-6)

    def test_given_corners_means_are_weighted_and_equal_values_stay(self):
        value = np.float32([[0.1], [0.1], [0.25], [0.75]])
        mean = corners.mean_at_points(value, np.int32([0, 0, 1, 1]), np.array([1.0, 0.3, 3.0, 1.0]), 3, 9)
        self.assertEqual(mean[0, 0], np.float32(0.1))
        self.assertAlmostEqual(mean[1, 0], 0.375, 6)
        self.assertEqual(mean[2, 0], 9)

    def test_given_tracks_finds_originals_only(self):
        count = 10000
        vectors = tracking.encode(count)
        between = (vectors[:-2] + vectors[2:]) / 2  # of the numbers 1 and 3, the mean is 2
        random = np.random.default_rng(2)
        order = random.permutation(count)[:6000]
        evaluated = np.concatenate([between[:3000], vectors[order], vectors[order[::-1]], np.full((2, 3), np.nan)])
        found = tracking.decode(evaluated.astype(np.float32), count)
        np.testing.assert_array_equal(found[order], 3000 + np.arange(6000))
        self.assertEqual((found < 0).sum(), 4000)


class TestLight(unittest.TestCase):
    def test_given_bounced_light_is_divided_by_the_colour(self):
        color = light.gathered_color((0.5, 0.25, 0), True)
        result = light.light_of(np.float32([0.5]), np.float32([[0.1, 0.1, 0.1]]), None, color)
        np.testing.assert_allclose(result.indirect, [[0.2, 0.4, 0]], rtol=1e-6)
        np.testing.assert_allclose(result.light, [[0.7, 0.9, 0.5]], rtol=1e-6)

    def test_given_lamps_take_the_place_of_occlusion(self):
        result = light.light_of(np.float32([0.5]), None, np.float32([[2, 0.5, 0, 2.5]]), (1, 1, 1))
        np.testing.assert_allclose(result.light, [[2, 0.5, 0]])
        np.testing.assert_allclose(result.ao, [[0.5]])

    def test_given_exposure_and_strength_darkens_below_one(self):
        shown = light.shown(np.float32([[0.25, 0.5, 1]]), 2, 2)
        np.testing.assert_allclose(shown, [[0.25, 1, 2]], rtol=1e-6)


class TestScene(Folder):
    def test_given_scene_equals_ktbake_on_another_file(self):
        """The same scene, written with one vertex per corner by other code, gives the same values."""
        for smooth in (False, True):
            box, grid = make_box(smooth), make_grid(12)
            scene = SceneFile()
            number = scene.add_mesh("box", box, [])
            scene.add_node("box", number, move(0.3, 0.4, 0.2, -0.4), True)  # mirrored
            scene.add_node("grid", scene.add_mesh("grid", grid, []), move(0, 0, 0), False)
            values = scene.read_results(bake(self.folder, scene, {"shadow_quality": 1}), number, 24, False)

            write_gltf(self.path("other.gltf"), [
                ("box", box.positions[box.corner_vertices], box.corner_normals, box.triangles, move(0.3, 0.4, 0.2, -0.4)),
                ("grid", grid.positions[grid.corner_vertices], grid.corner_normals, grid.triangles, move(0, 0, 0))])
            subprocess.run([KTBAKE, self.path("other.gltf"), "-o", self.path("other.glb"), "--select", "box", "--unit", "m",
                            "--up", "z", "--fit", "vertices", "--shadow-quality", "1", "--quiet"], check=True)
            other = glb.GlbReader(self.path("other.glb"))
            np.testing.assert_allclose(values.ao[:, 0], other.attribute(0, 0, "_AO"), atol=1e-6)
            np.testing.assert_allclose(values.indirect, other.attribute(0, 0, "_INDIRECT"), atol=1e-6)
            self.assertGreater(np.ptp(values.ao), 0.1)

    def test_given_two_materials_each_bounces_its_colour(self):
        box = make_box()
        box.triangle_slots[:6] = 1
        scene = SceneFile()
        slots = [scene.add_material((1, 0, 0), False), scene.add_material((0, 1, 0), False)]
        number = scene.add_mesh("box", box, slots)
        scene.add_node("baked", number, move(0, 0, 0), True)
        scene.add_node("floor", scene.add_mesh("floor", make_grid(40), [slots[0]]), move(-2, -2, -1.5), False)
        values = {"color_bleeding": True, "override": False, "shadow_quality": 0}
        result = scene.read_results(bake(self.folder, scene, values), number, 24, True)
        red = (box.triangle_slots == 0).repeat(3)
        red = np.isin(np.arange(24), box.triangles.ravel()[red])
        self.assertGreater(result.indirect[red, 0].max(), 0.05)
        self.assertEqual(result.indirect[:, 2].max(), 0)
        self.assertTrue((result.indirect[~red, 0] == 0).all())  # a green surface reflects no red light

    def test_given_blended_material_does_not_occlude(self):
        means = []
        for is_blended in (False, True):
            scene = SceneFile()
            number = scene.add_mesh("box", make_box(), [])
            scene.add_node("box", number, move(0, 0, 0), True)
            cover = scene.add_mesh("cover", make_box(), [scene.add_material((1, 1, 1), is_blended)])
            scene.add_node("cover", cover, move(0, 0, 0, 1.5), False)
            means.append(scene.read_results(bake(self.folder, scene, {"shadow_quality": 0}), number, 24, False).ao.mean())
        self.assertLess(means[0], 0.1)
        self.assertGreater(means[1], 0.9)

    def test_given_unit_distances_follow(self):
        """The nearer box occludes only if the longest distance reaches it."""
        means = []
        for millimetres in (1, 1000):
            scene = SceneFile()
            number = scene.add_mesh("box", make_box(), [])
            scene.add_node("box", number, move(0, 0, 0), True)
            scene.add_node("near", number, move(2.5, 0, 0), False)
            values = {"max_distance": 100, "min_distance": 0, "shadow_quality": 0}
            means.append(scene.read_results(bake(self.folder, scene, values, millimetres=millimetres), number, 24, False)
                         .ao.mean())
        self.assertLess(means[0], 0.97)
        self.assertGreater(means[1], 0.999)

    def test_given_no_triangles_adds_no_mesh(self):
        empty = corners.MeshData(np.zeros((3, 3), np.float32), np.zeros(0, np.int32), np.zeros((0, 3), np.float32),
                                 np.zeros((0, 3), np.int32), np.zeros(0, np.int32))
        self.assertIsNone(SceneFile().add_mesh("empty", empty, []))

    def test_given_sun_lights_the_side_that_it_sees(self):
        scene = SceneFile()
        number = scene.add_mesh("box", make_box(), [])
        scene.add_node("box", number, move(0, 0, 0), True)
        scene.add_light("sun", move(0, 0, 5), {"type": "directional", "color": [1, 0.5, 0], "intensity": 1})
        values = {"mode": "light-and-shadows", "indirect": False, "shadow_quality": 0}
        result = scene.read_results(bake(self.folder, scene, values), number, 24, False)
        top = make_box().corner_normals[:, 2] > 0.5
        np.testing.assert_allclose(result.light[top], [[1, 0.5, 0]] * 4, atol=0.02)
        np.testing.assert_allclose(result.light[~top], 0, atol=0.02)

    def test_given_file_that_is_no_glb_names_it(self):
        with open(self.path("bad.glb"), "wb") as file:
            file.write(b"glTF" + b"\0" * 30)
        with self.assertRaisesRegex(glb.GlbError, "bad.glb"):
            glb.GlbReader(self.path("bad.glb"))

    def test_given_interleaved_accessor_reads_it(self):
        writer = glb.GlbWriter()
        rows = np.arange(12, dtype=np.float32).reshape(-1, 4)
        index = writer.add_accessor(rows)
        writer.add("accessors", {"bufferView": 0, "byteOffset": 4, "componentType": 5126, "count": 3, "type": "SCALAR"})
        writer.document["bufferViews"][0]["byteStride"] = 16
        writer.write(self.path("a.glb"))
        reader = glb.GlbReader(self.path("a.glb"))
        np.testing.assert_array_equal(reader.accessor(index), rows)
        np.testing.assert_array_equal(reader.accessor(1), rows[:, 1])
        writer.document["accessors"][1]["count"] = 4
        writer.write(self.path("b.glb"))
        with self.assertRaisesRegex(glb.GlbError, "accessors/1: lies outside"):
            glb.GlbReader(self.path("b.glb")).accessor(1)


class TestProcess(Folder):
    def test_given_paths_finds_the_program(self):
        self.assertEqual(process.find_program(KTBAKE), KTBAKE)
        self.assertEqual(process.find_program(os.path.dirname(KTBAKE)), KTBAKE)
        self.assertIsNone(process.find_program(self.path("ktbake")))
        before = os.environ["PATH"]
        os.environ["PATH"] = os.path.dirname(KTBAKE)
        try:
            self.assertEqual(process.find_program(), KTBAKE)
        finally:
            os.environ["PATH"] = before
        self.assertTrue(process.version(KTBAKE).startswith("ktbake "))

    def test_given_bad_scene_tells_the_reason(self):
        run = process.Run(KTBAKE, [self.path("none.glb"), "-o", self.path("out.glb"), "--json"])
        run.wait(60)
        self.assertEqual(run.exit_code, 3)
        self.assertEqual(run.failure, "does not exist")

    def test_given_cancel_ends_without_a_file(self):
        scene = SceneFile()
        number = scene.add_mesh("grid", make_grid(100), [])
        scene.add_node("grid", number, move(0, 0, 0), True)
        selected = scene.write(self.path("scene.glb"))
        run = process.Run(KTBAKE, description.bake_arguments(
            DESCRIPTION, {"shadow_quality": 5, "bounces": 9}, self.path("scene.glb"), self.path("out.glb"), selected,
            1000))
        while run.exit_code is None and run.progress.get("phase") != "shadows":
            run.wait(0.05)
        self.assertIsNone(run.exit_code)
        self.assertRegex(process.describe_progress(run.progress)[0], r"^Shadows: \d+ %$")
        run.cancel()
        self.assertEqual((run.exit_code, run.failure), (130, "Cancelled"))
        self.assertFalse(os.path.exists(self.path("out.glb")))

    def test_given_preset_comes_back_with_its_values(self):
        values = {"shadow_quality": 3, "max_distance": 250.0, "min_distance": 0.5, "bounces": 4,
                  "indirect": True, "gather_quality": 1, "color_bleeding": True,
                  "override": True, "override_color": (0.5, 0.25, 0.125)}
        name = "--Test of \"Blender\""
        process.save_preset(KTBAKE, name, description.setting_arguments(DESCRIPTION, values))
        self.assertIn(name, process.preset_names(KTBAKE))
        read = process.preset_values(KTBAKE, name, DESCRIPTION)
        for key, value in values.items():
            np.testing.assert_allclose(read[key], value, err_msg=key)
        process.delete_preset(KTBAKE, name)
        self.assertNotIn(name, process.preset_names(KTBAKE))
        with self.assertRaisesRegex(RuntimeError, "No preset|no preset"):
            process.preset_values(KTBAKE, name, DESCRIPTION)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
