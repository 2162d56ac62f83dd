# SPDX-License-Identifier: LGPL-2.1-or-later
"""Compares kthost.stats() with ktbake --stats, Python 2.7 or 3. Argument: the folder of the libraries."""
from __future__ import print_function

import json
import os
import subprocess
import unittest

from script_host import Host, LIBRARIES, kthost

KTBAKE = os.path.join(os.path.dirname(LIBRARIES), "bin", "ktbake")


class Stats(Host):
    def test_they_are_those_of_ktbake(self):
        kthost.set_tracer("embree")
        try:
            self.open(ground_plane=True)
            for name, value in (("quality", 2), ("maxDistance", 500), ("gatherQuality", 1), ("numIndirections", 2),
                                ("overrideMaterialColor", False), ("subdivide", True), ("minEdgeLength", 80)):
                setattr(kthost.settings, name, value)
            self.assertTrue(kthost.bake())
            kthost.save(self.path("ours.glb"))
            kthost.preview(self.path("ours.png"), 64, 48)
        finally:
            kthost.set_tracer("hemisphere")
        ours = kthost.stats()
        subprocess.check_call([KTBAKE, self.scene, "--unit", "mm", "--ground-plane", "-q", "--tracer", "embree",
                               "-o", self.path("theirs.glb"), "--stats", self.path("theirs.json"),
                               "--shadow-quality", "2", "--max-distance", "500",
                               "--gather-quality", "1", "--bounces", "2", "--no-override-color", "--subdivide",
                               "--min-edge-length", "80"])
        with open(self.path("theirs.json")) as opened:
            theirs = json.load(opened)
        self.assertEqual(set(ours), set(theirs))
        self.assertEqual(set(ours["seconds"]), set(theirs["seconds"]))
        self.assertGreater(ours["refinement"]["addedVertices"], 0)
        for name in ("read", "tracing", "write", "preview", "total"):
            self.assertGreater(ours["seconds"][name], 0, name)
        self.assertEqual(ours["output"], self.path("ours.glb"))
        for name in ("output", "seconds", "warnings", "peakMemoryMiB"):
            del ours[name], theirs[name]
        self.assertEqual(ours, theirs)

    def test_they_are_those_of_the_last_bake_in_the_open_scene(self):
        self.open()
        kthost.settings.quality = 0
        self.assertEqual(kthost.stats()["verticesTraced"], 0)
        self.assertEqual(len(kthost.stats()["geometries"]), 2)
        self.assertTrue(kthost.bake())
        traced = kthost.stats()["verticesTraced"]
        self.assertGreater(traced, 0)
        kthost.select("room0")
        self.assertTrue(kthost.bake())
        self.assertEqual(kthost.stats()["verticesTraced"], traced // 2)
        self.assertEqual([entry["traced"] for entry in kthost.stats()["geometries"]], [True, False])
        self.open()
        self.assertEqual(kthost.stats()["verticesTraced"], 0)
        self.assertEqual([entry["traced"] for entry in kthost.stats()["geometries"]], [False, False])
        kthost.close()
        self.assertRaises(kthost.Error, kthost.stats)


if __name__ == "__main__":
    unittest.main()
