# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes after interrupted ones, in a plain interpreter, Python 2.7 or 3. Argument: the folder of the libraries.

KT_INTERRUPTS sets how many bakes are interrupted in each way; the default is 12.
"""
from __future__ import print_function

import os
import random
import shutil
import signal
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, sys.argv.pop(1))
import kthost
import ktAmbientOcclusion as ao
from script_scene import write_rooms

COUNT = int(os.environ.get("KT_INTERRUPTS", "12"))


class AfterAnInterrupt(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.scene = os.path.join(self.folder, "rooms.obj")
        write_rooms(self.scene, 4, 12)
        self.random = random.Random(20)
        ao.setAmbientOcclusionMode(0)
        self.open()
        self.compute()
        begin = time.time()
        self.open()
        kthost.bake()
        self.duration = time.time() - begin

    def tearDown(self):
        kthost.on_progress(None)
        kthost.close()
        shutil.rmtree(self.folder)

    def open(self):
        kthost.open(self.scene, unit="mm")

    def compute(self):
        ao.computeAmbientOcclusion(1, 1.0, 500.0, True, False, 0, 1, False, 80.0)

    def expect_that_the_next_bake_computes(self, number):
        """In a scene without results, so that none is left from before."""
        self.open()
        self.assertIs(kthost.bake(), True, number)
        for node in kthost.nodes():
            if node.kind == "Geometry":
                kthost.results(node)  # raises without results

    def test_by_a_signal(self):
        ended = 0
        for number in range(COUNT):
            # Also about the end of the bake, and a little after it.
            timer = threading.Timer(self.random.uniform(0, 1.1 * self.duration),
                                    lambda: os.kill(os.getpid(), signal.SIGINT))
            self.open()
            try:
                timer.start()
                kthost.bake() if number % 2 else self.compute()
                timer.join()
                for _ in range(100):
                    time.sleep(0.05)  # the system may deliver a signal late
            except KeyboardInterrupt:
                ended += 1
            self.expect_that_the_next_bake_computes(number)
        self.assertEqual(ended, COUNT)

    def test_by_a_callback_that_raises_at_any_share(self):
        class Enough(Exception):
            pass

        for number in range(COUNT):
            limit = self.random.choice([0.0, 0.3, 0.9, 0.99, 1.0])

            def callback(share):
                if share >= limit:
                    raise Enough
            self.open()
            kthost.on_progress(callback)
            with self.assertRaises(Enough):
                kthost.bake() if number % 2 else self.compute()
                len("the interpreter looks for what is pending here")
                time.sleep(0.01)
            kthost.on_progress(None)
            self.expect_that_the_next_bake_computes(number)

    def test_by_cancel_in_the_last_callback(self):
        for number in range(COUNT):
            self.open()
            kthost.on_progress(lambda share: kthost.cancel() if share > 0.9 else None)
            kthost.bake()
            kthost.on_progress(None)
            self.expect_that_the_next_bake_computes(number)

    def test_by_cancels_of_another_thread_at_any_time(self):
        self.open()
        over = threading.Event()
        expected = []

        def cancel():
            generator = random.Random(3)
            while not over.is_set():
                time.sleep(generator.uniform(0, 2 * self.duration))
                kthost.cancel()
        thread = threading.Thread(target=cancel)
        thread.start()
        try:
            for number in range(COUNT):
                self.open()
                expected.append(kthost.bake())
                # What a bake says is true: with True all geometry has results.
                if expected[-1]:
                    for node in kthost.nodes():
                        if node.kind == "Geometry":
                            kthost.results(node)
        finally:
            over.set()
            thread.join()
        self.expect_that_the_next_bake_computes("last")


if __name__ == "__main__":
    unittest.main()
