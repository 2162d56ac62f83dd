# SPDX-License-Identifier: LGPL-2.1-or-later
"""Ctrl-C during open and preview, Python 2.7 or 3. Argument: the folder of the libraries."""
from __future__ import print_function

import os
import signal
import subprocess
import time
import unittest

from script_host import Host, QUICK, ao, kthost, read
from script_scene import write_rooms


class Interrupted(Host):
    def setUp(self):
        super(Interrupted, self).setUp()
        self.open()
        self.nodes = kthost.nodes()

    def expect_that_it_ends(self, call, delay, error=KeyboardInterrupt):
        # By another process, because threads of the interpreter wait while a call reads a file.
        command = ["/bin/sh", "-c", "sleep %g; kill -INT %d" % (delay, os.getpid())]
        killer = subprocess.Popen(command)
        try:
            with self.assertRaises(error):
                call()
                time.sleep(5)
                self.fail("not interrupted")
        finally:
            killer.wait()

    def expect_the_scene_of_before(self):
        self.assertEqual(kthost.nodes(), self.nodes)
        ao.computeAmbientOcclusion(*QUICK)
        self.assertEqual(len(kthost.results("room0")["ao"]), 50)

    def test_import(self):
        large = self.path("large.obj")  # takes more than a second
        write_rooms(large, 20, 120)
        for delay in (0.05, 0.4):
            self.expect_that_it_ends(lambda: kthost.open(large), delay)
            self.expect_the_scene_of_before()

    def test_preview(self):
        picture = self.path("picture.png")
        for before in (None, b"an older picture"):
            if before:
                with open(picture, "wb") as out:
                    out.write(before)
            self.expect_that_it_ends(lambda: kthost.preview(picture, 8192, 8192), 0.3)
            self.assertEqual(os.path.exists(picture) and read(picture), before or False)
        self.expect_the_scene_of_before()
        kthost.preview(picture, 64, 48)
        self.assertEqual(read(picture)[:4], b"\x89PNG")

    def test_a_handler_that_raises_nothing(self):
        before = signal.signal(signal.SIGINT, lambda number, frame: None)
        try:
            self.expect_that_it_ends(lambda: kthost.preview(self.path("a.png"), 8192, 8192), 0.3, kthost.Error)
        finally:
            signal.signal(signal.SIGINT, before)
        self.assertFalse(os.path.exists(self.path("a.png")))
        self.assertTrue(kthost.bake())


if __name__ == "__main__":
    unittest.main()
