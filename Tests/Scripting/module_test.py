# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests the scripting module in a plain interpreter, Python 2.7 or 3. Argument: the folder of the libraries."""
from __future__ import print_function

import pydoc
import sys
import unittest

sys.path.insert(0, sys.argv.pop(1))
import ktAmbientOcclusion as ao

COMMON = [
    ("quality", "The quality level (value from 0 to 5) for the ambient occlusion calculation.", "unsigned integer"),
    ("minDistance", "The minimum distance a ray searches for intersections.", "float"),
    ("maxDistance", "The maximum distance a ray searches for intersections.", "float"),
    ("indirectIllumination", "Turns indirect illumination on or off.", "bool"),
    ("colorBleeding", "Turns color bleeding on or off.", "bool"),
    ("gatherQuality", "The quality level (value from 0 to 4) for the indirect illumination gathering passes.",
     "unsigned integer"),
    ("numIndirections", "The number of bounces (gathering passes) for the indirect illumination.",
     "unsigned integer"),
    ("subdivide", "Turns geometry subdivision on or off.", "bool"),
    ("minEdgeLength", "Sets the minimum length an edge may have after subdivision.", "float"),
]
COMPUTE = COMMON + [
    ("overrideMaterialColor", "Turns material color override on or off (Optional).", "bool"),
    ("materialColorR", "Red component of the material override color (Optional).", "float"),
    ("materialColorG", "Green component of the material override color (Optional).", "float"),
    ("materialColorB", "Blue component of the material override color (Optional).", "float"),
    ("subdivisionQuality", "The quality level (value from 0 to 2) for the subdivision of the geometry (Optional).",
     "int"),
    ("intensityThreshold", "Sets the intensity threshold for a subdivision (Optional).", "float"),
]
MISSING = COMMON + [
    ("intensityThreshold", "Sets the intensity threshold for a subdivision.", "float"),
    ("overrideMaterialColor", "Turns material color override on or off.", "bool"),
    ("materialColorR", "Red component of the material override color.", "float"),
    ("materialColorG", "Green component of the material override color.", "float"),
    ("materialColorB", "Blue component of the material override color", "float"),
    ("subdivisionQuality", "The quality level (value from 0 to 2) for the subdivision of the geometry (Optional).",
     "int"),
]
VALUES = {"quality": 0, "minDistance": 1.0, "maxDistance": 10.0, "indirectIllumination": False,
          "colorBleeding": False, "gatherQuality": 0, "numIndirections": 1, "subdivide": False,
          "minEdgeLength": 1.0, "overrideMaterialColor": True, "materialColorR": 0.5, "materialColorG": 0.5,
          "materialColorB": 0.5, "subdivisionQuality": 1, "intensityThreshold": 0.05}


def help_text(first, name, parameters, counts):
    paragraphs = [first]
    for count in counts:
        paragraphs.append(name + "(" + ", ".join(p[0] for p in parameters[:count]) + ")")
    for keyword, description, type_text in parameters:
        paragraphs.append("@param " + keyword + ": " + description)
        paragraphs.append("@type " + keyword + ": " + type_text)
    return "\n\n".join(paragraphs)


class Help(unittest.TestCase):
    def check(self, function, text):
        self.assertEqual(function.__doc__, text)
        shown = pydoc.plain(pydoc.render_doc(function))
        for line in text.splitlines():
            self.assertIn(line, shown)
        for added in ("C++", "->", "Boost"):
            self.assertNotIn(added, shown)
        self.assertEqual(function.__module__, "ktAmbientOcclusion")

    def test_compute(self):
        self.check(ao.computeAmbientOcclusion, help_text(
            "Calculates ambient occlusion and indirect illumination including color bleeding. There are three valid "
            "sets of parameters:", "computeAmbientOcclusion", COMPUTE, [9, 13, 15]))

    def test_compute_missing(self):
        self.check(ao.computeMissingAmbientOcclusion, help_text(
            "Calculates ambient occlusion and indirect illumination including color bleeding for the selected nodes "
            "that do not have a calculation yet. There are two valid sets of parameters:",
            "computeMissingAmbientOcclusion", MISSING, [14, 15]))

    def test_modes(self):
        self.check(ao.setAmbientOcclusionMode,
                   "Sets the ambient occlusion mode. Accepted modes are KT_AO_MODE_CLASSIC, KT_AO_MODE_SHADOWS and "
                   "KT_AO_MODE_LIGHT_AND_SHADOWS\n\n@param mode: The new mode.\n\n@type mode: integer\n\n")
        self.check(ao.getAmbientOcclusionMode,
                   "Returns the current ambient occlusion mode. The modes are KT_AO_MODE_CLASSIC, KT_AO_MODE_SHADOWS "
                   "and KT_AO_MODE_LIGHT_AND_SHADOWS\n\n@return: The current mode.\n\n@rtype: integer")


class Arguments(unittest.TestCase):
    def check(self, function, parameters, least):
        keywords = [p[0] for p in parameters]
        for count in range(0, 17):
            arguments = [VALUES[k] for k in keywords[:count]] + [0] * (count - len(keywords))
            if least <= count <= 15:
                self.assertIs(function(*arguments), None)
                self.assertIs(function(**dict((k, VALUES[k]) for k in keywords[:count])), None)
            else:
                self.assertRaises(TypeError, function, *arguments)
        whole = dict((k, VALUES[k]) for k in keywords)
        for keyword in keywords:
            self.assertRaises(TypeError, function, **dict(whole, **{keyword: "no number"}))
            if not isinstance(whole[keyword], bool):  # None counts as False
                self.assertRaises(TypeError, function, **dict(whole, **{keyword: None}))
        self.assertRaises(TypeError, function, **dict(whole, unknown=1))
        # An argument both by position and by keyword, and a required one missing.
        self.assertRaises(TypeError, function, 0, **whole)
        for keyword in keywords[:least]:
            self.assertRaises(TypeError, function, **dict((k, v) for k, v in whole.items() if k != keyword))
        # Not integers, or negative numbers for unsigned parameters.
        for keyword in ("quality", "gatherQuality", "numIndirections"):
            for value in (-1, 2 ** 40, 1.5):
                self.assertRaises((TypeError, OverflowError), function, **dict(whole, **{keyword: value}))

    def test_compute(self):
        self.check(ao.computeAmbientOcclusion, COMPUTE, 9)

    def test_compute_missing(self):
        self.check(ao.computeMissingAmbientOcclusion, MISSING, 10)


class Modes(unittest.TestCase):
    def tearDown(self):
        ao.setAmbientOcclusionMode(ao.KT_AO_MODE_CLASSIC)

    def test_constants(self):
        self.assertEqual((ao.KT_AO_MODE_CLASSIC, ao.KT_AO_MODE_SHADOWS, ao.KT_AO_MODE_LIGHT_AND_SHADOWS), (0, 1, 2))

    def test_round_trip(self):
        for mode in (2, 1, 0):
            self.assertIs(ao.setAmbientOcclusionMode(mode), None)
            self.assertEqual(ao.getAmbientOcclusionMode(), mode)
        ao.setAmbientOcclusionMode(mode=1)
        self.assertEqual(ao.getAmbientOcclusionMode(), 1)

    def test_wrong_arguments(self):
        for call in (lambda: ao.setAmbientOcclusionMode(), lambda: ao.setAmbientOcclusionMode(1, 2),
                     lambda: ao.setAmbientOcclusionMode("1"), lambda: ao.setAmbientOcclusionMode(mod=1),
                     lambda: ao.getAmbientOcclusionMode(1)):
            self.assertRaises(TypeError, call)

    def test_unknown_modes_change_nothing(self):
        ao.setAmbientOcclusionMode(1)
        for mode in (3, -1, 1000):
            ao.setAmbientOcclusionMode(mode)
            self.assertEqual(ao.getAmbientOcclusionMode(), 1)

    def test_star_import(self):
        names = {}
        exec("from ktAmbientOcclusion import *", names)
        self.assertEqual(names["KT_AO_MODE_SHADOWS"], 1)
        self.assertTrue(callable(names["computeMissingAmbientOcclusion"]))


if __name__ == "__main__":
    unittest.main()
