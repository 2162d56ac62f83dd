# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes with mpirun and compares the files with those of one process: mpi_bits_test.py MPIRUN KTBAKE SCENES [TEST|SCENE...]

SCENES is Examples/scenes.py. With names of tests, runs only those. Other scenes are baked, too, refined and with bounces.
"""
import json
import subprocess
import sys
import unittest

from ktMpi import HOST, Bakes

ENGINE = "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"
QUICK = ["--shadow-quality", "0", "--gather-quality", "0"]
REFINED = ["--subdivide", "--min-edge-length", "150", "--bounces", "2", "--ground-plane", "--color-bleeding",
           "--no-override-color"]


class MpiBits(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.bakes = Bakes(sys.argv[1], sys.argv[2])
        cls.addClassCleanup(cls.bakes.cleanup)
        subprocess.check_call([sys.executable, sys.argv[3], cls.bakes.folder], stdout=subprocess.DEVNULL)

    def expect_equal(self, scene, *options, ranks=(2, 3)):
        code, said = self.bakes.run(0, scene, "-o", "plain.glb", *options)
        self.assertEqual(code, 0, said)
        for count in ranks:
            code, said = self.bakes.run(count, scene, "-o", "shared.glb", "--stats", "stats.json", *options)
            self.assertEqual(code, 0, said)
            self.assertEqual(self.bakes.read("shared.glb"), self.bakes.read("plain.glb"), "%d ranks" % count)
            stats = json.loads(self.bakes.read("stats.json").decode())
            if count == 1:
                self.assertNotIn("ranks", stats)
                continue
            self.assertEqual([rank["rank"] for rank in stats["ranks"]], list(range(count)))
            self.assertEqual({rank["host"] for rank in stats["ranks"]}, {HOST})
            self.assertGreater(sum(rank["vertices"] for rank in stats["ranks"]), 0, "nothing was shared")
            self.assertGreater(sum(rank["bytesSent"] for rank in stats["ranks"][1:]), 0)
            if "embree" not in options:
                self.assertGreater(min(rank["structureBytes"] for rank in stats["ranks"][1:]), 0, "built more than once")

    def test_engine(self):
        self.expect_equal(ENGINE, *QUICK, ranks=(1, 2, 3))
        # Rank 0 borrows threads, so only long loops are shared.
        self.expect_equal(ENGINE, "--gather-quality", "0", "--threads", "1", ranks=(2, 4))

    def test_refined_with_bounces_and_ground_plane(self):
        self.expect_equal("car.glb", *QUICK, *REFINED, ranks=(3,))

    def test_values_at_vertices(self):
        self.expect_equal("car.glb", *QUICK, *REFINED, "--fit", "vertices", ranks=(2,))

    def test_lights(self):
        self.expect_equal("room.glb", "--mode", "light-and-shadows", "--bounces", "2", *QUICK, ranks=(2,))

    def test_embree(self):
        self.expect_equal("room.glb", "--mode", "shadows", "--tracer", "embree", *QUICK, ranks=(2,))

    def test_missing(self):
        code, said = self.bakes.run(0, "room.glb", "-o", "half.glb", *QUICK, "--select", "red wall")
        self.assertEqual(code, 0, said)
        self.expect_equal("half.glb", "--missing", "--shadow-quality", "1", "--gather-quality", "0", ranks=(2,))

    def test_further_scenes(self):
        for scene in (name for name in sys.argv[4:] if not name.startswith("test_")):
            with self.subTest(scene):
                self.expect_equal(scene, *QUICK, *REFINED, ranks=(1, 2, 3, 4))
                self.expect_equal(scene, ranks=(2,))

    def test_many_scenes(self):
        code, said = self.bakes.run(2, "room.glb", "car.glb", "--output-folder", "shared", *QUICK)
        self.assertEqual(code, 0, said)
        code, said = self.bakes.run(0, "room.glb", "car.glb", "--output-folder", "alone", *QUICK)
        self.assertEqual(code, 0, said)
        for name in ("room-baked.glb", "car-baked.glb"):
            self.assertEqual(self.bakes.read("shared/" + name), self.bakes.read("alone/" + name))

    def test_errors_are_said_once(self):
        code, said = self.bakes.run(2, "none.glb", "-o", "shared.glb")
        self.assertEqual(code, 3, said)
        self.assertEqual(said.count("none.glb"), 1, said)
        code, said = self.bakes.run(2, "room.glb", "--no-such-option")
        self.assertEqual(code, 2, said)
        self.assertEqual(said.count("--no-such-option"), 1, said)

    def test_ranks_off(self):
        code, said = self.bakes.run(2, "room.glb", "-o", "off.glb", "--ranks", "off", *QUICK, "--stats", "off.json")
        self.assertEqual(code, 0, said)
        self.assertNotIn("ranks", json.loads(self.bakes.read("off.json").decode()))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + ["MpiBits." + name for name in sys.argv[4:] if name.startswith("test_")], verbosity=2)
