# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests distances that follow the scene, modes that need lights, and hints, Python 2.7 or 3. Argument: the folder of the
libraries."""
from __future__ import print_function

import unittest

from script_host import Host, QUICK, ao, kthost, run_script

# Distances count as given for the rest of the process, so each test has an interpreter of its own.
BEGIN = ("import json, sys, kthost, ktAmbientOcclusion as ao\n"
         "lines = []\nkthost.on_log(lambda level, line: lines.append((level, line)))\n"
         "kthost.open(sys.argv[1], unit='mm')\nkthost.settings.quality = 0\nkthost.settings.indirectIllumination = False\n"
         "used = lambda: kthost.stats()['settings']['min-distance']\n")


class Distances(Host):
    def run_in_scene(self, script):
        code, output = run_script(BEGIN + script, self.scene)
        self.assertEqual(code, 0, output)

    def test_a_distance_that_nobody_gave_follows_the_scene(self):
        self.run_in_scene("while kthost.undo(): pass\n"
                          "kthost.settings.quality = 0\n"
                          "assert kthost.bake()\n"
                          "diagonal = kthost.stats()['sceneDiagonalMm']\n"
                          "assert abs(used() - 1e-4 * diagonal) < 1e-6, used()\n"
                          "assert kthost.settings.minDistance == 1, 'the setting stays'\n"
                          "assert [line for level, line in lines if 'so the minimum distance is 0.287 mm' in line], lines\n"
                          "assert kthost.undo() and not kthost.undo(), 'no step for the distance'\n")

    def test_a_given_distance_stays(self):
        for given in ("kthost.settings.minDistance = 1", "kthost.settings.minDistance = 2; kthost.undo()",
                      "kthost.apply_preset(kthost.presets()[0])",
                      "ao.computeAmbientOcclusion(0, 1.0, 500.0, False, True, 0, 1, False, 80.0)"):
            self.run_in_scene(given + "\nbefore = kthost.settings.minDistance\n"
                              "assert kthost.bake()\nassert used() == before, (used(), before)\n"
                              "assert not [line for level, line in lines if 'minimum distance is' in line], lines\n")

    def test_a_distance_that_does_not_suit_the_scene_is_warned_about(self):
        self.run_in_scene("kthost.settings.minDistance = 9000\nkthost.settings.maxDistance = 9001\n"
                          "assert kthost.bake()\n"
                          "assert [line for level, line in lines if level == 'warning' and 'nothing occludes' in line], lines\n"
                          "assert [line for level, line in lines if 'nearly all white' in line], lines\n")


class Lights(Host):
    def test_a_mode_with_lights_needs_one(self):
        self.open()
        kthost.settings.mode = 2
        with self.assertRaises(kthost.Error) as caught:
            kthost.bake()
        self.assertIn("needs a light that shines, and the scene has none", str(caught.exception))
        self.assertRaises(kthost.Error, kthost.results, "room0")
        for mode in (0, 1):
            kthost.settings.mode = mode
            self.assertTrue(kthost.bake())


class UpAxis(Host):
    def test_the_axis_of_the_file_that_points_up_can_be_given(self):
        for axis, row in (("auto", 1), ("y", 1), ("x", 0), ("z", 2)):
            self.open(up=axis)
            column = [line[row] for line in kthost.find("room0")[0].world_matrix]
            self.assertEqual([round(number, 6) for number in column[:3]], [0, 1, 0], axis)
        for axis in ("w", "", "Z"):
            with self.assertRaises(kthost.Error) as caught:
                self.open(up=axis)
            self.assertIn("not \"%s\"" % axis, str(caught.exception))
        self.assertRaises(TypeError, self.open, up=2)


if __name__ == "__main__":
    unittest.main()
