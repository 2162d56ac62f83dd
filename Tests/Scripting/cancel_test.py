# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests what kthost refuses and what a cancel keeps, in Python 2.7 or 3. Argument: the folder of the libraries."""
from __future__ import print_function

import os
import signal
import sys
import threading
import unittest

from script_host import Host, QUICK, ao, floats, kthost, read, run_script, write_locked, write_rooms


class Threads(Host):
    def test_calls_off_the_main_thread_are_refused(self):
        self.open()
        node = self.geometry()[0]
        calls = [kthost.bake, kthost.close, kthost.nodes, kthost.select, kthost.selection, kthost.settings,
                 kthost.presets, kthost.undo, kthost.redo, lambda: kthost.open(self.scene),
                 lambda: kthost.save(self.path("a.glb")), lambda: kthost.preview(self.path("a.png")),
                 lambda: kthost.results(node), lambda: kthost.apply_preset("x"), lambda: kthost.save_preset("x"),
                 lambda: kthost.delete_preset("x"), lambda: kthost.set_threads(1),
                 lambda: kthost.set_tracer("embree"), lambda: kthost.on_progress(None),
                 lambda: kthost.on_cancel(None), lambda: node.name, lambda: node.path, lambda: node.kind,
                 lambda: node.vertices, lambda: node.locked, lambda: repr(node),
                 lambda: ao.computeAmbientOcclusion(*QUICK), lambda: ao.setAmbientOcclusionMode(1),
                 ao.getAmbientOcclusionMode]
        before = kthost.settings(), kthost.presets(), kthost.selection()
        refused = []

        def call_all():
            for call in calls:
                try:
                    call()
                    refused.append("not refused: %d" % calls.index(call))
                except RuntimeError as error:
                    refused.append("main thread" if "main thread" in str(error) else str(error))
            kthost.cancel()
            self.assertEqual(node, node)
        thread = threading.Thread(target=call_all)
        thread.start()
        thread.join()
        self.assertEqual(refused, ["main thread"] * len(calls))
        self.assertEqual((kthost.settings(), kthost.presets(), kthost.selection()), before)
        self.assertTrue(node.kind)

    def test_a_process_forked_after_a_bake_is_told_that_it_cannot_bake(self):
        self.open()
        self.assertTrue(kthost.bake())
        sys.stdout.flush()
        reader, writer = os.pipe()
        child = os.fork()
        if child == 0:
            told = "nothing"
            signal.alarm(60)
            try:
                kthost.bake()
            except kthost.Error as error:
                told = str(error)
            os.write(writer, told.encode("utf-8"))
            os._exit(0)
        os.close(writer)
        with os.fdopen(reader, "rb") as opened:
            told = opened.read().decode("utf-8")
        self.assertEqual(os.waitpid(child, 0)[1], 0)
        self.assertIn("forked", told)
        self.assertTrue(kthost.bake(), "the process itself can")

    def test_a_process_forked_before_any_bake_can_bake_and_end(self):
        script = ("import os, sys, kthost\nkthost.open(sys.argv[1], unit='mm')\n"
                  "child = os.fork()\n"
                  "if child == 0:\n    sys.exit(0 if kthost.bake() else 1)\n"
                  "sys.exit(0 if os.waitpid(child, 0)[1] == 0 and kthost.bake() else 2)\n")
        self.assertEqual(run_script(script, self.scene)[0], 0)

    def test_a_process_forked_after_a_bake_ends(self):
        script = ("import os, sys, signal, kthost\nkthost.open(sys.argv[1], unit='mm')\nkthost.bake()\n"
                  "child = os.fork()\n"
                  "if child == 0:\n    signal.alarm(60)\n    sys.exit(0)\n"
                  "sys.exit(os.waitpid(child, 0)[1])\n")
        self.assertEqual(run_script(script, self.scene)[0], 0)


class Refusals(Host):
    """A log line and an exception; nothing is changed."""

    def refused(self, statements, reason):
        script = ("import sys, kthost, ktAmbientOcclusion as ao\nscene = sys.argv[1]\n" + statements)
        code, output = run_script(script, self.scene)
        self.assertEqual(code, 0, output)
        logged = [line for line in output.splitlines() if reason in line and "Error" not in line]
        self.assertEqual(len(logged), 1, output)

    BAKE = ("before = kthost.settings()\n"
            "try:\n    kthost.bake()\n    sys.exit(1)\n"
            "except kthost.Error as error:\n    sys.exit(2) if %r not in str(error) else None\n"
            "sys.exit(kthost.settings() != before)\n")

    def test_without_a_scene(self):
        self.refused(self.BAKE % "no scene is open", "no scene is open")
        self.refused("ao.computeAmbientOcclusion(0, 1.0, 500.0, False, True, 0, 1, False, 80.0)\n", "no scene is open")
        self.refused("try:\n    kthost.nodes()\n    sys.exit(1)\nexcept kthost.Error:\n    pass\n", "no scene is open")

    def test_without_a_selection(self):
        start = "kthost.open(scene, unit='mm')\nkthost.select([])\n"
        self.refused(start + self.BAKE % "nothing is selected", "nothing is selected")
        self.refused(start + "ao.computeAmbientOcclusion(0, 1.0, 500.0, False, True, 0, 1, False, 80.0)\n",
                     "nothing is selected")

    def test_while_a_bake_is_under_way(self):
        self.refused("kthost.open(scene, unit='mm')\ntold = []\n"
                     "def callback(share):\n"
                     "    if told:\n        return\n"
                     "    try:\n        kthost.bake()\n"
                     "    except kthost.Error as error:\n        told.append(str(error))\n"
                     "kthost.on_progress(callback)\n"
                     "assert kthost.bake()\n"
                     "assert told == ['a bake is under way'], told\n"
                     "assert all(kthost.results(n) for n in kthost.nodes() if n.kind == 'Geometry')\n",
                     "a bake is under way")

    def test_with_all_locked(self):
        write_locked(self.path("safe.gltf"))
        self.scene = self.path("safe.gltf")
        start = "kthost.open(scene)\nkthost.select('safe')\n"
        self.refused(start + self.BAKE % "every selected node is locked", "every selected node is locked")
        self.refused(start + "ao.computeAmbientOcclusion(0, 1.0, 500.0, False, True, 0, 1, False, 80.0)\n",
                     "every selected node is locked")


    def test_without_geometry(self):
        write_locked(self.path("safe.gltf"))
        self.scene = self.path("safe.gltf")
        self.refused("kthost.open(scene)\nkthost.select('empty')\n" + self.BAKE % "no geometry", "no geometry")


class Import(unittest.TestCase):
    def test_another_minor_version_is_refused(self):
        for module in ("kthost", "ktAmbientOcclusion"):
            code, output = run_script("import sys\nsys.hexversion += 0x10000\n"
                                      "try:\n    import %s\nexcept ImportError as error:\n    print(error)\n"
                                      "    sys.exit(3)\n" % module)
            self.assertEqual(code, 3, output)
            self.assertIn("%d.%d" % sys.version_info[:2], output)
            self.assertIn("%d.%d" % (sys.version_info[0], sys.version_info[1] + 1), output)

    def test_off_the_main_thread_is_refused(self):
        code, output = run_script("import sys, threading\ntold = []\n"
                                  "def load():\n    try:\n        import kthost\n"
                                  "    except ImportError as error:\n        told.append(str(error))\n"
                                  "thread = threading.Thread(target=load)\nthread.start()\nthread.join()\n"
                                  "sys.exit(3 if 'main thread' in told[0] else 1)\n")
        self.assertEqual(code, 3, output)


class Keep(Host):
    """A bake that is cancelled gives back the results of before."""

    def results(self):
        found = []
        for node in self.geometry():
            try:
                found.append({name: floats(view) for name, view in kthost.results(node).items() if name != "triangles"})
            except kthost.Error:
                found.append(None)
        return found

    def cancel_in_the_middle(self, missing=False, **keep):
        """Cancels a bake of another quality between two of its geometries. Returns how many have other results."""
        before = self.results()
        kthost.on_progress(lambda share: kthost.cancel() if share > 0.4 else None)
        ao.setAmbientOcclusionMode(0)
        try:
            self.assertIs(kthost.bake(missing, **keep), False)
        finally:
            kthost.on_progress(None)
        return sum(a != b for a, b in zip(before, self.results()))

    def bake(self, indirect, quality, subdivide=False):
        ao.computeAmbientOcclusion(quality, 1.0, 500.0, indirect, True, 0, 1, subdivide, 80.0)

    def set(self, indirect, quality):
        """Settings of the next bake() without one: of a bake of nothing."""
        selected = kthost.selection()
        kthost.select([])
        self.bake(indirect, quality)
        kthost.select(selected)

    def open_many(self):
        write_rooms(self.path("many.obj"), 8, 40)
        kthost.open(self.path("many.obj"), unit="mm")

    def test_finished_geometry_keeps_its_new_results(self):
        self.open_many()
        self.bake(False, 0)
        self.set(False, 3)
        changed = self.cancel_in_the_middle()
        self.assertTrue(0 < changed < len(self.geometry()), changed)
        self.assertNotIn(None, self.results())
        self.assertTrue(kthost.bake(missing=True))

    def test_nothing_new_is_kept_on_demand(self):
        self.open_many()
        self.bake(False, 0)
        self.set(False, 3)
        self.assertEqual(self.cancel_in_the_middle(keep="none"), 0)
        self.set(True, 2)
        self.assertEqual(self.cancel_in_the_middle(keep="none"), 0)

    def test_indirect_light_of_untouched_geometry_stays(self):
        self.open_many()
        self.bake(True, 0)
        before = self.results()
        self.assertTrue(any(sum(r["indirect"]) > 0 for r in before))
        self.set(False, 3)
        self.assertLess(self.cancel_in_the_middle(), len(before))
        after = self.results()
        self.assertGreater(sum(a == b for a, b in zip(before, after)), 0)
        # A cancel in the direct pass of a bake with bounces: no geometry is finished.
        self.bake(True, 0)
        self.set(True, 3)
        self.assertEqual(self.cancel_in_the_middle(), 0)

    def test_a_scene_without_results_has_none_again(self):
        self.open_many()
        self.set(True, 3)
        self.cancel_in_the_middle(keep="none")
        self.assertEqual(set(map(str, self.results())), set(["None"]))
        self.assertRaises(kthost.Error, kthost.results, self.geometry()[0])
        kthost.save(self.path("a.glb"))

    def test_what_the_file_is_saved_with_is_as_before(self):
        self.open_many()
        self.bake(True, 0)
        kthost.save(self.path("before.glb"))
        self.set(True, 3)
        self.cancel_in_the_middle(keep="none")
        kthost.save(self.path("after.glb"))
        self.assertTrue(read(self.path("before.glb")) == read(self.path("after.glb")))

    def test_the_next_bake_keeps_finished_geometry_again(self):
        self.open_many()
        self.bake(False, 0)
        self.set(False, 3)
        self.cancel_in_the_middle(keep="none")
        self.assertGreater(self.cancel_in_the_middle(), 0)

    def test_other_words_are_refused(self):
        self.open()
        self.assertRaises(kthost.Error, kthost.bake, keep="all")
        self.assertRaises(TypeError, kthost.bake, keep=None)
        self.assertTrue(kthost.bake(False, "none"))


if __name__ == "__main__":
    unittest.main()
