# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests kthost.settings, numbers of other types, signatures, log and version, Python 2.7 or 3. Argument: the folder of the
libraries."""
from __future__ import print_function

import os
import subprocess
import sys
import unittest

from script_host import Host, LIBRARIES, QUICK, ao, kthost

OTHER = {"quality": 3, "minDistance": 2.5, "maxDistance": 250.0, "indirectIllumination": None, "colorBleeding": None,
         "gatherQuality": 3, "numIndirections": 4, "subdivide": None, "minEdgeLength": 12.5, "overrideMaterialColor": None,
         "materialColorR": 0.25, "materialColorG": 0.5, "materialColorB": 0.75, "subdivisionQuality": 1,
         "intensityThreshold": 0.125, "mode": 2}
NAN = float("nan")


class Scalar(object):
    """A number as NumPy has them: neither an int nor a float."""

    def __init__(self, value):
        self.value = value

    def __float__(self):
        return float(self.value)


class Index(Scalar):
    def __index__(self):
        return self.value


class Attributes(Host):
    def setUp(self):
        super(Attributes, self).setUp()
        self.before = kthost.settings()

    def tearDown(self):
        for name, value in self.before.items():
            setattr(kthost.settings, name, value)
        super(Attributes, self).tearDown()

    def test_each_setting_is_an_attribute_with_undo(self):
        self.assertEqual(set(OTHER), set(kthost.settings()))
        for name, other in OTHER.items():
            before = getattr(kthost.settings, name)
            self.assertEqual(before, kthost.settings()[name], name)
            other = (not before) if other is None else other
            if other == before:
                other += 1
            setattr(kthost.settings, name, other)
            self.assertEqual(getattr(kthost.settings, name), other, name)
            self.assertEqual(dict(self.before, **{name: other}), kthost.settings())
            self.assertTrue(kthost.undo())
            self.assertEqual(kthost.settings(), self.before, name)
            self.assertTrue(kthost.redo())
            self.assertEqual(getattr(kthost.settings, name), other, name)
            self.assertTrue(kthost.undo())

    def test_an_equal_value_is_no_undo_step(self):
        kthost.settings.maxDistance = 250
        while kthost.undo():
            pass
        kthost.settings.maxDistance = kthost.settings.maxDistance
        self.assertFalse(kthost.undo())

    def test_nothing_is_baked(self):
        self.open()
        kthost.settings.quality = 0
        self.assertRaises(kthost.Error, kthost.results, "room0")
        self.assertTrue(kthost.bake())

    def test_bad_values_are_refused(self):
        for name, values in (("quality", (-1, 6)), ("maxDistance", (-1, NAN, float("inf"), 1e300)), ("mode", (3,)),
                             ("minEdgeLength", (0, NAN)), ("intensityThreshold", (0.001, NAN)),
                             ("materialColorR", (-0.1, 1.1, NAN)), ("numIndirections", (-1, 101))):
            for value in values:
                with self.assertRaises(kthost.Error) as caught:
                    setattr(kthost.settings, name, value)
                self.assertIn(name + " is ", str(caught.exception))
                self.assertIn("not %r" % value, str(caught.exception))
        for name, value in (("quality", 1.0), ("quality", "1"), ("maxDistance", "far"), ("maxDistance", None),
                            ("subdivide", 1), ("subdivide", "yes"), ("mode", "shadows"), ("mode", [])):
            with self.assertRaises(TypeError) as caught:
                setattr(kthost.settings, name, value)
            self.assertIn(name + " is ", str(caught.exception))
        self.assertEqual(kthost.settings(), self.before)
        with self.assertRaises(AttributeError):
            kthost.settings.maxDistanz = 3
        with self.assertRaises(AttributeError):
            del kthost.settings.maxDistance

    def test_settings_during_a_bake_are_refused(self):
        self.open_slow()
        refused = []

        def change(share):
            try:
                kthost.settings.quality = 0
            except kthost.Error as error:
                refused.append(str(error))
            kthost.cancel()
        kthost.on_progress(change)
        self.slow()
        self.assertEqual(set(refused), set(["a bake is under way"]))

    def test_they_describe_themselves(self):
        self.assertIn("maxDistance=%r" % kthost.settings.maxDistance, repr(kthost.settings))
        for name in OTHER:
            self.assertIn(name, dir(kthost.settings))
            self.assertTrue(getattr(kthost.Settings, name).__doc__)
        self.assertIn("mm", kthost.Settings.maxDistance.__doc__)


class Numbers(Host):
    def test_scalars_are_numbers(self):
        before = kthost.settings()
        self.open()
        ao.computeAmbientOcclusion(Index(0), Scalar(2.0), Index(400), False, True, Index(1), Index(3), False, Scalar(80))
        self.assertEqual((kthost.settings.quality, kthost.settings.minDistance, kthost.settings.maxDistance), (0, 2.0, 400.0))
        kthost.settings.maxDistance = Scalar(300.0)
        kthost.settings.quality = Index(1)
        self.assertEqual((kthost.settings.quality, kthost.settings.maxDistance), (1, 300.0))
        with self.assertRaises(TypeError):
            kthost.settings.quality = Scalar(1.0)
        kthost.preview(self.path("a.png"), Index(64), height=Index(48), exposure=Scalar(0.5), turn=Index(90))
        kthost.save(self.path("a.glb"), exposure=Scalar(2.0))
        kthost.set_threads(Index(0))
        self.assertRaises(TypeError, kthost.set_threads, Scalar(1.0))
        kthost.open(self.scene, unit=Scalar(2.5))
        for name, value in before.items():
            setattr(kthost.settings, name, value)

    def test_not_a_number_is_refused(self):
        self.open()
        before = kthost.settings()
        for place in (1, 2, 8):
            arguments = list(QUICK)
            arguments[place] = NAN
            with self.assertRaises(ValueError) as caught:
                ao.computeAmbientOcclusion(*arguments)
            self.assertIn("argument %d is NaN" % (place + 1), str(caught.exception))
        with self.assertRaises(ValueError) as caught:
            ao.computeMissingAmbientOcclusion(*QUICK, intensityThreshold=NAN)
        self.assertIn("intensityThreshold", str(caught.exception))
        self.assertEqual(kthost.settings(), before)
        self.assertRaises(kthost.Error, kthost.open, self.scene, NAN)
        self.assertRaises(kthost.Error, kthost.results, "room0")


class Log(Host):
    def tearDown(self):
        kthost.on_log(None)
        kthost.set_quiet(False)
        super(Log, self).tearDown()

    def test_lines_come_with_their_level(self):
        lines = []
        kthost.on_log(lambda level, line: lines.append((level, line)))
        kthost.open(self.scene)
        self.assertIn("info", [level for level, line in lines if "rooms.obj" in line])
        kthost.select([])
        self.assertRaises(kthost.Error, kthost.bake)
        self.assertIn(("error", "nothing is selected"), lines)
        ao.setAmbientOcclusionMode(7)
        self.assertEqual(lines[-1], ("warning", "Unknown ambient occlusion mode"))
        self.assertRaises(TypeError, kthost.on_log, 3)
        kthost.on_log(None)
        count = len(lines)
        kthost.open(self.scene)
        self.assertEqual(len(lines), count)

    def test_what_the_callback_raises_or_logs_does_no_harm(self):
        def fail(level, line):
            ao.setAmbientOcclusionMode(7)
            raise ValueError("of the callback")
        kthost.on_log(fail)
        self.open()
        self.assertTrue(kthost.bake())

    def test_quiet_leaves_errors(self):
        script = ("import sys, kthost\nkthost.set_quiet(%s)\nlines = []\n"
                  "kthost.on_log(lambda level, line: lines.append(level))\n"
                  "kthost.open(sys.argv[1])\nkthost.bake()\nkthost.select([])\n"
                  "try:\n    kthost.bake()\nexcept kthost.Error:\n    pass\n"
                  "assert 'info' in lines and 'error' in lines, lines\n")
        for quiet, expected_output in (("", b""), ("False", b"Num Rays")):
            process = subprocess.Popen([sys.executable, "-c", script % quiet, self.scene], stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE, env=dict(os.environ, PYTHONPATH=LIBRARIES))
            output, messages = process.communicate()
            self.assertEqual(process.returncode, 0, messages)
            self.assertIn(expected_output, output)
            self.assertIn(b"nothing is selected", messages)
            self.assertEqual(quiet == "", output == b"" and b"rooms.obj" not in messages)


class Description(unittest.TestCase):
    def test_version(self):
        self.assertRegex(kthost.__version__, r"^\d+\.\d+")

    if sys.version_info < (3,):
        assertRegex = unittest.TestCase.assertRegexpMatches

    def test_help_begins_with_the_signature_or_has_one(self):
        for name in ("open", "bake", "on_log", "save_preset"):
            function = getattr(kthost, name)
            signature = getattr(function, "__text_signature__", None) or function.__doc__.split("\n")[0][len(name):]
            self.assertTrue(signature.startswith("(") and signature.endswith(")"), signature)
            self.assertNotIn("--", function.__doc__)


if __name__ == "__main__":
    unittest.main()
