# SPDX-License-Identifier: LGPL-2.1-or-later
"""Kills ranks of a bake, and cancels it: mpi_faults_test.py MPIRUN KTBAKE [KILLS [SEED]]

Kills one rank in each of KILLS bakes (default 3), at random times. Each time: the bake ends, a line names rank and host, the
old output is whole, and no process and no shared memory is left. Prints how long the bakes took to end.
"""
import os
import random
import signal
import sys
import threading
import time
import unittest

from ktMpi import HOST, Bakes, children

ENGINE = "/usr/share/assimp/models/glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"
RANKS = 3
KILLS = int(sys.argv[3]) if len(sys.argv) > 3 else 3
SEED = int(sys.argv[4]) if len(sys.argv) > 4 else 1


def is_alive(pid):
    try:
        with open("/proc/%d/stat" % pid) as file:
            return file.read().rsplit(")", 1)[1].split()[0] != "Z"
    except OSError:
        return False


class MpiFaults(unittest.TestCase):
    def setUp(self):
        self.bakes = Bakes(sys.argv[1], sys.argv[2])
        self.addCleanup(self.bakes.cleanup)
        self.bakes.write("out.glb", b"old")

    def start(self):
        self.process = self.bakes.start(
            RANKS, [ENGINE, "-o", "out.glb", "--shadow-quality", "5", "--threads", "1"])
        self.said = b""
        self.is_tracing = threading.Event()
        self.reader = threading.Thread(target=self.read)
        self.reader.start()
        # A rank is a process that waits for the one that works.
        while True:
            self.workers = [worker for guard in children(self.process.pid) for worker in children(guard)]
            if len(self.workers) == RANKS:
                return
            self.assertIsNone(self.process.poll(), "the bake ended early")
            time.sleep(0.01)

    def read(self):
        for line in self.process.stderr:
            self.said += line
            if b"vertices traced" in line:
                self.is_tracing.set()
        self.is_tracing.set()
        self.process.stderr.close()

    def wait(self):
        """Returns the exit code and standard error, when all has ended."""
        guards = children(self.process.pid)
        begin = time.monotonic()
        code = self.process.wait()
        self.reader.join()
        seconds = time.monotonic() - begin
        while any(is_alive(pid) for pid in guards + self.workers):
            time.sleep(0.01)  # a process that never ends fails the test by its time limit
        self.assertEqual(os.listdir(self.bakes.memory), [])
        self.assertEqual(self.bakes.read("out.glb"), b"old")
        self.assertEqual(sorted(name for name in os.listdir(self.bakes.folder) if name.startswith("out")), ["out.glb"])
        return code, self.said.decode(errors="replace"), seconds

    def test_killed_ranks(self):
        chance = random.Random(SEED)
        longest = 0
        for number in range(KILLS):
            rank, delay = chance.randrange(RANKS), chance.uniform(0, 3)
            with self.subTest(number=number, rank=rank, delay=delay):
                self.start()
                time.sleep(delay)
                os.kill(self.workers[rank], signal.SIGKILL)
                code, said, seconds = self.wait()
                longest = max(longest, seconds)
                self.assertEqual(code, 1, said)
                self.assertEqual(said.count("rank %d on %s: signal 9" % (rank, HOST)), 1, said)
        print("%d kills, seed %d: the longest end took %.2f s" % (KILLS, SEED, longest))

    def test_killed_guards(self):
        self.start()
        os.kill(children(self.process.pid)[1], signal.SIGKILL)
        code, said, _ = self.wait()
        self.assertNotEqual(code, 0)
        self.assertIn("rank 1", said)

    def test_cancel(self):
        for signal_number in (signal.SIGINT, signal.SIGTERM):
            self.start()
            self.is_tracing.wait()
            os.kill(self.workers[0], signal_number)
            code, said, seconds = self.wait()
            self.assertEqual(code, 130, said)
            self.assertEqual(said.count("Cancelled; nothing is written."), 1, said)
            print("signal %d: the end took %.2f s" % (signal_number, seconds))

    def test_cancel_before_the_bake(self):
        self.start()
        os.kill(self.workers[0], signal.SIGINT)
        code, said, _ = self.wait()
        self.assertNotEqual(code, 0, said)

    def test_stopped_launcher(self):
        self.start()
        self.process.send_signal(signal.SIGTERM)
        code, said, _ = self.wait()
        self.assertNotEqual(code, 0, said)

    def test_killed_launcher(self):
        self.start()
        self.is_tracing.wait()
        self.process.kill()
        code, said, _ = self.wait()
        self.assertEqual(code, -signal.SIGKILL, said)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
