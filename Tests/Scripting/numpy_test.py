# SPDX-License-Identifier: LGPL-2.1-or-later
"""Reads results of kthost with NumPy, which is available only for Python 3. Argument: the folder of the libraries."""
import os
import sys
import tempfile
import unittest

sys.path.insert(0, sys.argv.pop(1))
import kthost
import ktAmbientOcclusion as ao
import numpy
from script_scene import write_rooms


class Arrays(unittest.TestCase):
    def setUp(self):
        with tempfile.TemporaryDirectory() as folder:
            write_rooms(os.path.join(folder, "rooms.obj"))
            kthost.open(os.path.join(folder, "rooms.obj"), unit="mm")
        ao.computeAmbientOcclusion(0, 1.0, 500.0, False, True, 0, 1, False, 80.0)
        node = [node for node in kthost.nodes() if node.kind == "Geometry"][0]
        self.views = kthost.results(node)

    def tearDown(self):
        kthost.close()

    def test_nothing_is_copied(self):
        light = numpy.asarray(self.views["light"])
        self.assertEqual(light.dtype, numpy.float32)
        self.assertEqual(light.shape, self.views["light"].shape)
        self.assertFalse(light.flags.owndata)
        self.assertFalse(light.flags.writeable)
        self.assertEqual(light.ctypes.data, numpy.asarray(self.views["light"]).ctypes.data)
        with self.assertRaises((ValueError, BufferError, TypeError)):
            light[0] = 1

    def test_numbers_are_those_of_the_view(self):
        triangles = numpy.asarray(self.views["triangles"])
        self.assertEqual(triangles.dtype, numpy.uint32)
        self.assertLess(triangles.max(), len(self.views["positions"]))
        self.assertEqual(numpy.asarray(self.views["ao"]).tolist(), self.views["ao"].tolist())
        self.assertEqual(numpy.asarray(self.views["positions"]).tobytes(), self.views["positions"].tobytes())

    def test_an_array_outlives_scene_and_view(self):
        ao_values = numpy.asarray(self.views["ao"])
        before = ao_values.copy()
        self.views = None
        kthost.close()
        self.assertTrue((ao_values == before).all())

    def test_scalars_are_numbers(self):
        ao.computeAmbientOcclusion(numpy.uint8(0), numpy.float32(2), numpy.int64(400), numpy.bool_(False), True,
                                   numpy.int32(1), numpy.uint16(3), numpy.False_, numpy.float64(80))
        self.assertEqual((kthost.settings.maxDistance, kthost.settings.numIndirections), (400.0, 3))
        kthost.settings.maxDistance = numpy.float32(0.5)
        kthost.settings.quality = numpy.int16(1)
        kthost.settings.colorBleeding = numpy.bool_(True)
        self.assertEqual(kthost.settings()["maxDistance"], 0.5)
        with self.assertRaises(TypeError):
            kthost.settings.quality = numpy.float32(1)
        with self.assertRaises(kthost.Error):
            kthost.settings.maxDistance = numpy.float32("nan")
        with self.assertRaises(ValueError):
            ao.computeAmbientOcclusion(0, numpy.float32("nan"), 500.0, False, True, 0, 1, False, 80.0)
        kthost.set_threads(numpy.int64(0))
        self.assertRaises(TypeError, kthost.set_threads, numpy.arange(3))
        self.assertTrue(kthost.bake(missing=numpy.bool_(False)))


if __name__ == "__main__":
    unittest.main()
