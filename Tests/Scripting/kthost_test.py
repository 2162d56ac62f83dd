# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests the module kthost in a plain interpreter, Python 2.7 or 3. Argument: the folder of the libraries."""
from __future__ import print_function

import io
import os
import pydoc
import signal
import struct
import sys
import threading
import time
import unittest

from script_host import Host, QUICK, ao, floats, kthost, read, resident_bytes, write_locked, write_rooms

try:
    from _thread import interrupt_main
except ImportError:
    from thread import interrupt_main


class Help(unittest.TestCase):
    def test_every_name_is_described(self):
        for name in dir(kthost):
            if not name.startswith("__"):
                self.assertTrue(getattr(kthost, name).__doc__, name)
        shown = pydoc.plain(pydoc.render_doc(kthost))
        self.assertIn("@raise kthost.Error", shown)
        self.assertIn("millimetres", shown)
        self.assertNotIn("C++", shown)

    def test_error_is_an_ordinary_exception(self):
        self.assertTrue(issubclass(kthost.Error, RuntimeError))


class Files(Host):
    def test_bad_files_are_refused_and_the_scene_stays(self):
        self.open()
        count = len(kthost.nodes())
        for bad in ("missing.glb", "rooms.xyz"):
            with self.assertRaises(kthost.Error) as caught:
                kthost.open(self.path(bad))
            self.assertIn(bad, str(caught.exception))
        self.assertEqual(len(kthost.nodes()), count)

    def test_wrong_arguments(self):
        for call in (lambda: kthost.open(3), lambda: kthost.open(), lambda: kthost.select(3),
                     lambda: kthost.on_progress(3), lambda: kthost.apply_preset(None), lambda: kthost.save(None),
                     lambda: kthost.preview(1.5), lambda: kthost.on_cancel("x"), lambda: kthost.save_preset(3),
                     lambda: kthost.delete_preset(3), lambda: kthost.select(["room0", 3]), lambda: kthost.undo(1),
                     lambda: kthost.preview(self.path("a.png"), "wide"), lambda: kthost.bake(None, 1),
                     lambda: kthost.preview(self.path("a.png"), view=1),
                     lambda: kthost.preview(self.path("a.png"), progress=1),
                     lambda: kthost.open(self.scene, ground_plane="maybe", nothing=1)):
            self.open()
            self.assertRaises(TypeError, call)
        self.assertRaises(kthost.Error, kthost.open, self.scene, "furlong")
        self.assertRaises(kthost.Error, kthost.save, self.path("a.glb"), "bright")
        self.assertRaises(kthost.Error, kthost.save, self.path("a.glb"), exposure=0)
        for strength in (-1, 11, float("nan")):
            self.assertRaises(kthost.Error, kthost.save, self.path("a.glb"), strength=strength)
        self.assertRaises(kthost.Error, kthost.save, self.path("a.glb"), compress="zip")
        self.assertRaises(kthost.Error, kthost.save, self.path("no/such/folder.glb"))
        for exposure in (-1, float("nan"), float("inf")):
            self.assertRaises(kthost.Error, kthost.save, self.path("a.glb"), exposure=exposure)
            self.assertRaises(kthost.Error, kthost.preview, self.path("a.png"), exposure=exposure)
        for width, height in ((0, 10), (10, 0), (-1, 10), (10, 16385)):
            self.assertRaises(kthost.Error, kthost.preview, self.path("a.png"), width, height)
        self.assertRaises(kthost.Error, kthost.preview, self.path("no/such/folder.png"), 10, 10)

    def test_without_a_scene(self):
        for call in (kthost.nodes, kthost.select, lambda: kthost.save(self.path("a.glb")),
                     lambda: kthost.preview(self.path("a.png")), lambda: kthost.results("room0"), kthost.bake):
            self.assertRaises(kthost.Error, call)
        kthost.close()

    def test_a_number_is_a_unit(self):
        kthost.open(self.scene, unit=2.5)
        node = self.geometry()[0]
        ao.computeAmbientOcclusion(*QUICK)
        self.assertEqual(len(floats(kthost.results(node)["positions"])), 3 * node.vertices)

    def test_a_ground_plane_is_one_of_the_top_nodes(self):
        self.open()
        nodes, top = len(kthost.nodes()), len(kthost.select())
        self.open(ground_plane=True)
        self.assertEqual((len(kthost.nodes()) > nodes, len(kthost.select())), (True, top + 1))
        ao.computeAmbientOcclusion(*QUICK)
        kthost.save(self.path("plane.glb"))
        count = len(kthost.nodes())
        kthost.open(self.path("plane.glb"), ground_plane=True)
        self.assertEqual(len(self.geometry()), len([n for n in kthost.nodes() if n.vertices]))
        self.assertEqual(len(kthost.nodes()), count, "the existing plane is used")

    def test_preview_turns(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        pictures = []
        for turn in (0, 0.0, 90, 180.0, 360):
            kthost.preview(self.path("a.png"), 64, 48, turn=turn)
            pictures.append(read(self.path("a.png")))
        self.assertEqual(len(set(pictures)), 3)
        self.assertEqual((pictures[1], pictures[4]), (pictures[0], pictures[0]))
        for turn in (float("nan"), float("inf")):
            self.assertRaises(kthost.Error, kthost.preview, self.path("a.png"), turn=turn)

    def test_preview_views(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        pictures = []
        for options in ({}, {"view": "three-quarter"}, {"view": "front"}, {"view": "top"}, {"view": "left", "turn": 90},
                        {"headlight": True}):
            kthost.preview(self.path("a.png"), 64, 48, **options)
            pictures.append(read(self.path("a.png")))
        self.assertEqual(len(set(pictures)), 4)
        self.assertEqual((pictures[0], pictures[2]), (pictures[1], pictures[4]))
        for view in ("camera", "fromt", ""):
            with self.assertRaises(kthost.Error) as caught:
                kthost.preview(self.path("a.png"), 64, 48, view=view)
            self.assertIn("three-quarter, front", str(caught.exception))
        self.assertEqual(read(self.path("a.png")), pictures[-1])

    def test_preview_tells_its_progress(self):
        self.open()
        shares = []
        kthost.preview(self.path("a.png"), 640, 480, progress=shares.append)
        self.assertEqual(shares, sorted(shares))
        self.assertEqual(shares.count(1.0), 1)
        before = read(self.path("a.png"))

        def fail(share):
            raise KeyError("mine")
        self.assertRaises(KeyError, kthost.preview, self.path("a.png"), 2048, 2048, progress=fail)
        self.assertEqual(read(self.path("a.png")), before)

    def test_a_progress_function_cannot_change_the_scene(self):
        self.open()
        calls = [kthost.close, kthost.bake, lambda: kthost.open(self.scene),
                 lambda: kthost.preview(self.path("b.png"), 8, 8)]
        refused = []

        def call_all(share):
            for call in calls:
                with self.assertRaises(kthost.Error) as caught:
                    call()
                refused.append(str(caught.exception))
        kthost.preview(self.path("a.png"), 64, 48, progress=call_all)
        self.assertEqual(set(refused), {"a picture is being drawn"})
        self.assertTrue(kthost.bake(), "afterwards it is allowed")

    def test_preview_has_its_size(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        kthost.preview(self.path("a.png"), width=64, height=48)
        self.assertEqual(struct.unpack(">II", read(self.path("a.png"))[16:24]), (64, 48))


class Nodes(Host):
    def test_names_and_paths_lead_to_their_nodes(self):
        self.open()
        found = 0
        for node in kthost.nodes():
            if node.path:
                self.assertIn(node, kthost.select(node.path))
                found += 1
        self.assertGreaterEqual(found, 2)
        self.assertEqual([n.name for n in kthost.select(["room1", "room0"])], ["room1", "room0"])
        self.assertEqual(kthost.select([]), [])
        self.assertTrue(kthost.select())
        self.assertEqual(kthost.select(), kthost.selection())

    def test_an_unknown_name_leaves_the_selection(self):
        self.open()
        kthost.select("room1")
        with self.assertRaises(kthost.Error) as caught:
            kthost.select(["room0", "attic"])
        self.assertIn("attic", str(caught.exception))
        self.assertEqual([n.name for n in kthost.selection()], ["room1"])

    def test_nodes_are_told_apart(self):
        self.open()
        nodes = kthost.nodes()
        self.assertEqual(len(set(nodes)), len(nodes))
        self.assertEqual(nodes, kthost.nodes())
        self.assertIn("room0", "".join(repr(node) for node in nodes))

    def test_a_node_of_a_closed_scene_is_refused(self):
        self.open()
        node = self.geometry()[0]
        kthost.close()
        self.assertRaises(kthost.Error, lambda: node.name)
        self.assertIn("left", repr(node))
        self.open()
        self.assertRaises(kthost.Error, kthost.select, node)


class Results(Host):
    def test_only_the_selection_has_results(self):
        self.open()
        kthost.select("room0")
        ao.computeAmbientOcclusion(*QUICK)
        baked = []
        for node in self.geometry():
            try:
                kthost.results(node)
                baked.append(node)
            except kthost.Error as error:
                self.assertIn("results", str(error))
        self.assertEqual(len(baked), len(self.geometry()) // 2)

    def test_buffers_outlive_the_scene(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        node = self.geometry()[0]
        count = node.vertices
        views = kthost.results(node)
        self.assertEqual(set(views), set(["positions", "triangles", "ao", "indirect", "light"]))
        before = floats(views["ao"])
        del node
        kthost.close()
        self.assertEqual(floats(views["ao"]), before)
        self.assertEqual(views["ao"].shape[0], count)
        self.assertEqual(tuple(views["positions"].shape), (count, 3))
        self.assertTrue(views["ao"].readonly)
        self.assertTrue(all(0.0 <= value <= 1.0 for value in before))
        # The corner between floor and wall is darker than the rest.
        self.assertLess(min(before), 0.85)
        self.assertGreater(max(before), 0.95)

    def test_buffers_tell_their_layout(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        views = kthost.results(self.geometry()[0])
        for name, item_format, columns in (("positions", "f", 3), ("triangles", "I", 3), ("ao", "f", 1),
                                           ("indirect", "f", 3), ("light", "f", 3)):
            view = views[name]
            self.assertIsInstance(view, memoryview)
            self.assertEqual((view.format, view.itemsize, view.ndim), (item_format, 4, 1 if columns == 1 else 2), name)
            self.assertEqual(tuple(view.strides), (4,) if columns == 1 else (4 * columns, 4))
            self.assertEqual(len(view), view.shape[0])
            self.assertEqual(len(view.tobytes()), 4 * columns * view.shape[0])
            with self.assertRaises((TypeError, NotImplementedError)):
                view[0] = 0.5
        # Functions that accept bytes accept the view.
        self.assertEqual(bytes(bytearray(views["light"])), views["light"].tobytes())
        with open(self.path("light.bin"), "wb") as out:
            out.write(views["light"])
        self.assertEqual(read(self.path("light.bin")), views["light"].tobytes())
        self.assertRaises((BufferError, TypeError), io.BytesIO(b"x" * 4096).readinto, views["light"])
        triangles = struct.unpack("%dI" % (3 * len(views["triangles"])), views["triangles"].tobytes())
        self.assertLess(max(triangles), len(views["positions"]))

    def test_a_buffer_is_given_back_with_its_last_view(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        node = self.geometry()[0]
        for _ in range(100):
            kthost.results(node)
        before = resident_bytes()
        for _ in range(3000):
            kthost.results(node)
        self.assertLess(resident_bytes() - before, 2 << 20)

    def test_only_geometry_that_is_baked_has_results(self):
        self.open()
        group = [node for node in kthost.nodes() if node.kind != "Geometry"][0]
        for what, reason in ((group, "no geometry"), (self.geometry()[0], "no results"), ("attic", "attic")):
            with self.assertRaises(kthost.Error) as caught:
                kthost.results(what)
            self.assertIn(reason, str(caught.exception))
        self.assertRaises(TypeError, kthost.results, 3)


class Settings(Host):
    def test_presets_by_name(self):
        names = kthost.presets()
        self.assertGreaterEqual(len(names), 2)
        ao.setAmbientOcclusionMode(0)
        kthost.apply_preset(names[0])
        first = kthost.settings()
        kthost.apply_preset(names[-1])
        self.assertNotEqual(kthost.settings(), first)
        self.assertTrue(kthost.undo())
        self.assertEqual(kthost.settings(), first)
        self.assertTrue(kthost.redo())
        self.assertNotEqual(kthost.settings(), first)
        self.assertRaises(kthost.Error, kthost.apply_preset, "no such preset")

    def test_presets_are_kept(self):
        kthost.save_preset("of the test")
        self.assertIn("of the test", kthost.presets())
        kthost.delete_preset("of the test")
        self.assertNotIn("of the test", kthost.presets())
        self.assertRaises(kthost.Error, kthost.delete_preset, "of the test")
        self.assertRaises(kthost.Error, kthost.save_preset, "")

    def test_presets_have_any_name(self):
        for name in ("Gr\xc3\xb6\xc3\x9fe", "<\"&'>", "\xf0\x9f\x9a\x97", "n" * 10000):
            if str is not bytes:
                name = name.encode("latin-1").decode("utf-8")
            kthost.save_preset(name)
            self.assertEqual(kthost.presets()[-1], name)
            kthost.apply_preset(name)
            kthost.delete_preset(name)
            self.assertNotIn(name, kthost.presets())

    def test_settings_follow_the_calculation(self):
        self.open()
        ao.computeAmbientOcclusion(0, 2.0, 500.0, False, True, 1, 3, False, 80.0, True, 0.25, 0.5, 0.75, 2, 0.125)
        self.assertEqual(kthost.settings(), {
            "quality": 0, "minDistance": 2.0, "maxDistance": 500.0, "indirectIllumination": False,
            "colorBleeding": True, "gatherQuality": 1, "numIndirections": 3, "subdivide": False,
            "minEdgeLength": 80.0, "overrideMaterialColor": True, "materialColorR": 0.25, "materialColorG": 0.5,
            "materialColorB": 0.75, "subdivisionQuality": 2, "intensityThreshold": 0.125, "mode": 0})
        ao.computeAmbientOcclusion(0, 2.0, 500.0, False, True, 1, 3, False, 80.0, True, 0.25)
        self.assertEqual([round(kthost.settings()["materialColor" + c], 6) for c in "RGB"], [0.25, 0.7, 0.7])
        self.assertEqual(kthost.settings()["subdivisionQuality"], 1)
        ao.computeMissingAmbientOcclusion(0, 2.0, 500.0, False, True, 1, 3, False, 80.0, 0.25)
        self.assertEqual((kthost.settings()["intensityThreshold"], kthost.settings()["overrideMaterialColor"]),
                         (0.25, False))

    def test_an_unchanged_mode_is_no_undo_step(self):
        while kthost.undo():
            pass
        ao.setAmbientOcclusionMode(ao.getAmbientOcclusionMode())
        for mode in (-1, 3):
            ao.setAmbientOcclusionMode(mode)
        self.assertFalse(kthost.undo())

    def test_undo_ends(self):
        while kthost.undo():
            pass
        self.assertFalse(kthost.undo())
        ao.setAmbientOcclusionMode(1)
        self.assertTrue(kthost.undo())
        self.assertEqual(ao.getAmbientOcclusionMode(), 0)
        self.assertTrue(kthost.redo())
        self.assertFalse(kthost.redo())
        self.assertEqual(ao.getAmbientOcclusionMode(), 1)
        ao.setAmbientOcclusionMode(0)


class Bake(Host):
    def test_bake_equals_a_calculation_with_the_same_settings(self):
        self.open()
        ao.computeAmbientOcclusion(*QUICK)
        expected = floats(kthost.results(self.geometry()[0])["ao"])
        self.open()
        self.assertTrue(kthost.bake())
        self.assertEqual(floats(kthost.results(self.geometry()[0])["ao"]), expected)

    def test_missing_leaves_results(self):
        self.open()
        kthost.select("room0")
        self.assertTrue(kthost.bake())
        kthost.select()
        self.assertTrue(kthost.bake(missing=True))
        for node in self.geometry():
            kthost.results(node)

    def test_threads_and_tracers_give_the_same_light(self):
        results = []
        try:
            for threads, tracer in ((0, "hemisphere"), (1, "hemisphere"), (2, "hemisphere"), (1, "embree")):
                kthost.set_threads(threads)
                kthost.set_tracer(tracer)
                self.open()
                ao.computeAmbientOcclusion(*QUICK)
                results.append(floats(kthost.results(self.geometry()[0])["ao"]))
        finally:
            kthost.set_threads(0)
            kthost.set_tracer("hemisphere")
        self.assertEqual(results[:2], [results[2]] * 2)
        self.assertLess(max(abs(a - b) for a, b in zip(results[0], results[3])), 0.05)
        for count in (-1, 1025):
            self.assertRaises(kthost.Error, kthost.set_threads, count)
        self.assertRaises(kthost.Error, kthost.set_tracer, "crayon")
        self.assertRaises(TypeError, kthost.set_tracer, 3)

    def test_fit_changes_what_the_vertices_get(self):
        results = []
        try:
            for fit in ("surface", "vertices", "surface"):
                kthost.set_fit(fit)
                self.open()
                ao.computeAmbientOcclusion(*QUICK)
                results.append(floats(kthost.results(self.geometry()[0])["ao"]))
        finally:
            kthost.set_fit("surface")
        self.assertEqual(results[0], results[2])
        self.assertNotEqual(results[0], results[1])
        self.assertRaises(kthost.Error, kthost.set_fit, "faces")
        self.assertRaises(TypeError, kthost.set_fit, 3)

    def test_max_triangles_takes_numbers_factors_and_none(self):
        for budget in (1000, "1000", "4x", "2.5x", None):
            kthost.set_max_triangles(budget)
        for budget in ("4 x", 0, "0.5x", -3, 10.5):
            self.assertRaises(kthost.Error, kthost.set_max_triangles, budget)

    def test_bake_needs_a_selection(self):
        self.open()
        kthost.select([])
        self.assertRaises(kthost.Error, kthost.bake)

    def test_locked_nodes_are_told(self):
        write_locked(self.path("safe.gltf"))
        kthost.open(self.path("safe.gltf"))
        self.assertEqual([n.name for n in kthost.nodes() if n.locked and n.path], ["safe"])
        kthost.select("safe")
        with self.assertRaises(kthost.Error) as caught:
            kthost.bake()
        self.assertIn("locked", str(caught.exception))

    def test_calls_that_do_not_go_with_a_bake_are_refused_meanwhile(self):
        self.open_slow()
        refused = []

        def interfere(share):
            for call in (kthost.close, kthost.bake, kthost.undo, kthost.redo, lambda: kthost.open(self.scene),
                         lambda: kthost.save(self.path("a.glb")), lambda: kthost.preview(self.path("a.png")),
                         lambda: kthost.apply_preset(kthost.presets()[0]), lambda: kthost.set_threads(1),
                         lambda: kthost.set_tracer("embree")):
                try:
                    call()
                except kthost.Error as error:
                    refused.append(str(error))
            kthost.cancel()
        kthost.on_progress(interfere)
        self.slow()
        self.assertEqual(set(refused), set(["a bake is under way"]))
        self.assertEqual(len(refused) % 10, 0)

    def test_progress_rises_to_one(self):
        self.open()
        shares = []
        kthost.on_progress(shares.append)
        ao.computeAmbientOcclusion(*QUICK)
        self.assertEqual(shares, sorted(shares))
        self.assertEqual((shares[0], shares[-1]), (0.0, 1.0))

    def test_cancel_from_a_callback(self):
        self.open_slow()
        shares, cancels = [], []
        kthost.on_progress(lambda share: (shares.append(share), kthost.cancel()))
        kthost.on_cancel(lambda: cancels.append(True))
        ao.computeAmbientOcclusion(*QUICK)
        self.assertEqual(cancels, [True])
        self.assertLess(shares[-1], 1.0)
        self.assertFalse(kthost.bake())

    def test_cancel_from_another_thread(self):
        self.open_slow()
        started = threading.Event()
        kthost.on_progress(lambda share: started.set())

        def cancel():
            started.wait()
            time.sleep(0.05)
            kthost.cancel()
        thread = threading.Thread(target=cancel)
        thread.start()
        kthost.cancel()  # nothing to cancel yet
        begin = time.time()
        self.slow()
        thread.join()
        self.assertLess(time.time() - begin, 10)

    def test_what_a_callback_raises_comes_out_of_the_call(self):
        self.open_slow()

        def fail(share):
            raise ValueError("no more")
        kthost.on_progress(fail)
        with self.assertRaises(ValueError) as caught:
            self.slow()
            self.fail("not reached")
        self.assertEqual(str(caught.exception), "no more")
        kthost.on_progress(None)
        self.open()
        self.assertTrue(kthost.bake())

    def test_other_threads_count_meanwhile(self):
        self.open_slow()
        counted = [0]
        ends = threading.Event()

        def count():
            while not ends.is_set():
                counted[0] += 1
                time.sleep(0.001)
        thread = threading.Thread(target=count)
        thread.start()
        # No callback is set: the main thread runs no Python code before the bake has ended.
        before = counted[0]
        ao.computeAmbientOcclusion(4, 1.0, 500.0, False, True, 0, 1, False, 80.0)
        after = counted[0]
        ends.set()
        thread.join()
        self.assertGreater(after - before, 10)

    def test_ctrl_c_ends_the_bake_and_raises(self):
        self.open_slow()
        pid = os.getpid()
        # No progress callback is set, in which the interpreter would check for signals.
        cancels = []
        kthost.on_cancel(lambda: cancels.append(True))
        threading.Timer(0.2, lambda: os.kill(pid, signal.SIGINT)).start()
        with self.assertRaises(KeyboardInterrupt):
            self.slow()
            time.sleep(5)
        self.assertEqual(cancels, [True])
        self.assertIs(signal.getsignal(signal.SIGINT), signal.default_int_handler)
        kthost.on_progress(None)
        self.open()
        self.assertTrue(kthost.bake())

    def test_an_interrupt_by_another_thread_ends_the_bake_and_raises(self):
        self.open_slow()
        cancels = []
        kthost.on_cancel(lambda: cancels.append(True))
        threading.Timer(0.2, interrupt_main).start()  # no operating system signal
        with self.assertRaises(KeyboardInterrupt):
            self.slow()
            time.sleep(5)
        self.assertEqual(cancels, [True])

    def test_the_same_bake_gives_the_same_file(self):
        files = []
        for name in ("a.glb", "b.glb"):
            self.open()
            ao.computeAmbientOcclusion(*QUICK)
            kthost.save(self.path(name))
            files.append(read(self.path(name)))
        self.assertEqual(files[0], files[1])
        kthost.save(self.path("c.glb"), shade="none")
        self.assertNotEqual(read(self.path("c.glb")), files[0])


if __name__ == "__main__":
    unittest.main()
