# SPDX-License-Identifier: LGPL-2.1-or-later
"""Kills bakes on ranks that keep a checkpoint, and goes on from there: mpi_checkpoint_test.py MPIRUN KTBAKE

The bytes must be those of an undisturbed bake, with any number of ranks after the break.
"""
import os
import signal
import sys
import time
import unittest

from ktMpi import Bakes, children

ENGINE = "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"
OPTIONS = ["--shadow-quality", "1", "--gather-quality", "0", "--bounces", "2", "--threads", "1"]


class MpiCheckpoint(unittest.TestCase):
    def setUp(self):
        self.bakes = Bakes(sys.argv[1], sys.argv[2])
        self.addCleanup(self.bakes.cleanup)

    def size(self):
        try:
            return os.path.getsize(self.bakes.path("kept"))
        except OSError:
            return 0

    def bake(self, ranks):
        """Bakes with the checkpoint; returns how many vertices and points it had."""
        code, said = self.bakes.run_aloud(ranks, ENGINE, "-o", "out.glb", "--checkpoint", "kept", *OPTIONS)
        self.assertEqual(code, 0, said)
        self.assertFalse(os.path.exists(self.bakes.path("kept")))
        for line in said.splitlines():
            if "is from the checkpoint" in line:
                return int(line.split("the light of ")[1].split()[0])
        return 0

    def interrupt(self, ranks, least):
        """Kills rank 0 when its checkpoint has so many bytes. A signal to mpirun would reach it a second later."""
        process = self.bakes.start(ranks, [ENGINE, "-qo", "out.glb", "--checkpoint", "kept"] + OPTIONS)
        while self.size() < least:
            self.assertIsNone(process.poll(), "the bake ended early")
            time.sleep(0.002)
        # A rank is a process that waits for the one that works.
        works = children(children(process.pid)[0])[0] if ranks else process.pid
        os.kill(works, signal.SIGKILL)
        process.communicate()
        self.assertGreaterEqual(self.size(), least)

    def test_goes_on(self):
        code, said = self.bakes.run(0, ENGINE, "-o", "plain.glb", *OPTIONS)
        self.assertEqual(code, 0, said)
        process = self.bakes.start(2, [ENGINE, "-qo", "whole.glb", "--checkpoint", "kept"] + OPTIONS)
        whole = 0
        while process.poll() is None:
            whole = max(whole, self.size())
            time.sleep(0.002)
        process.communicate()
        self.assertEqual(self.bakes.read("whole.glb"), self.bakes.read("plain.glb"))
        for before, after in ((2, 2), (2, 3), (2, 0), (0, 2)):
            with self.subTest(before=before, after=after):
                self.interrupt(before, whole // 2)
                restored = self.bake(after)
                print("%d ranks, then %d: %d vertices and points were kept" % (before, after, restored))
                self.assertEqual(self.bakes.read("out.glb"), self.bakes.read("plain.glb"))
                self.assertGreater(restored, 0)
                os.remove(self.bakes.path("out.glb"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
