# SPDX-License-Identifier: LGPL-2.1-or-later
"""Runs the example scripts as users do. Arguments: the folder of the libraries, the folder of the examples.

KT_INTERRUPTS sets how many times the batch over 40 models is interrupted; the default is 3.
"""
from __future__ import print_function

import json
import os
import random
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

from script_scene import write_rooms

LIBRARIES, EXAMPLES = os.path.abspath(sys.argv.pop(1)), os.path.abspath(sys.argv.pop(1))


class Examples(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        os.mkdir(self.path("scenes"))
        self.scene = self.path("scenes", "rooms.obj")
        write_rooms(self.scene)

    def tearDown(self):
        shutil.rmtree(self.folder)

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def start_example(self, name, *arguments):
        environment = dict(os.environ, PYTHONPATH=LIBRARIES)
        return subprocess.Popen([sys.executable, os.path.join(EXAMPLES, name)] + list(arguments), env=environment,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def run_example(self, name, *arguments):
        """Returns the exit code and the output."""
        process = self.start_example(name, *arguments)
        output = process.communicate()[0].decode("utf-8")
        return process.returncode, output

    def test_each_tells_its_usage(self):
        scripts = [name for name in os.listdir(EXAMPLES) if name.endswith(".py")]
        self.assertGreaterEqual(len(scripts), 3)
        for name in scripts:
            code, output = self.run_example(name, "--help")
            self.assertEqual(code, 0, output)
            self.assertIn("usage:", output)
            code, output = self.run_example(name, self.path("missing"), self.path("results"))
            self.assertNotEqual(code, 0, output)

    def test_presets(self):
        arguments = [self.scene, self.path("pictures"), "--presets"] + self.some_presets() + ["--size", "64", "48", "--views", "3"]
        code, output = self.run_example("presets.py", *arguments)
        self.assertEqual(code, 0, output)
        pictures = os.listdir(self.path("pictures"))
        self.assertEqual(len(pictures), 2 * 3, output)
        contents = set()
        for picture in pictures:
            with open(self.path("pictures", picture), "rb") as opened:
                contents.add(opened.read())
        self.assertEqual(len(contents), len(pictures), "pictures of different views or presets are equal")
        code, output = self.run_example("presets.py", self.scene, self.path("pictures"), "--presets", "nonsense")
        self.assertEqual(code, 1)
        self.assertIn("nonsense", output)

        self.assertEqual(self.run_example("presets.py", self.scene, self.path("pictures"), "--views", "0")[0], 2)

    def some_presets(self):
        """Two presets that give different pictures."""
        script = "import kthost, json; print('|' + json.dumps([kthost.presets()[1], kthost.presets()[4]]))"
        output = subprocess.check_output([sys.executable, "-c", script], env=dict(os.environ, PYTHONPATH=LIBRARIES))
        return json.loads(output.decode("utf-8").split("|")[-1])

    def test_batch(self):
        with open(self.path("scenes", "broken.glb"), "w") as broken:
            broken.write("no scene")
        code, output = self.run_example("batch.py", self.path("scenes"), self.path("baked"), "--unit", "mm")
        self.assertEqual(code, 1, output)
        self.assertIn("rooms.obj: baked", output)
        self.assertIn("broken.glb: failed", output)
        self.assertEqual(os.listdir(self.path("baked")), ["rooms-obj.glb"])
        os.remove(self.path("scenes", "broken.glb"))
        code, output = self.run_example("batch.py", self.path("scenes"), self.path("baked"))
        self.assertEqual(code, 0, output)
        self.assertIn("up to date", output)

    def carries_results(self, path):
        with open(path, "rb") as opened:
            data = opened.read()
        return data[:4] == b"glTF" and struct.unpack("<I", data[8:12])[0] == len(data) and b'"_AO"' in data

    def test_an_interrupted_batch_tells_the_truth(self):
        names = ["rooms%d.obj" % i for i in range(40)]
        for i, name in enumerate(names):
            write_rooms(self.path("scenes", name), 1 + i % 3, 2 + i % 7)
        os.remove(self.scene)
        arguments = [self.path("scenes"), self.path("baked"), "--unit", "mm", "--again"]
        begin = time.time()
        code, output = self.run_example("batch.py", *arguments)
        duration = time.time() - begin
        self.assertEqual((code, output.count(": baked")), (0, 40), output)

        generator = random.Random(40)
        for trial in range(int(os.environ.get("KT_INTERRUPTS", "3"))):
            for name in names:
                with open(self.path("baked", name.replace(".", "-") + ".glb"), "w") as old:
                    old.write("old")
            process = self.start_example("batch.py", *arguments)
            time.sleep(generator.uniform(0.1, 1) * duration)
            if process.poll() is None:
                process.send_signal(signal.SIGINT)
            output = process.communicate()[0].decode("utf-8")
            unsaid = 0
            for name in names:
                baked = self.path("baked", name.replace(".", "-") + ".glb")
                with open(baked, "rb") as opened:
                    is_old = opened.read() == b"old"
                if name + ": baked" in output:
                    self.assertTrue(self.carries_results(baked), name + " after\n" + output)
                elif not is_old:
                    self.assertTrue(self.carries_results(baked), name + " after\n" + output)
                    unsaid += 1
            self.assertLessEqual(unsaid, 1, "the interrupt may come between the file and the line")
            self.assertEqual([f for f in os.listdir(self.path("baked")) if not f.endswith("-obj.glb")], [])

    def test_modes(self):
        code, output = self.run_example("modes.py", self.scene, self.path("pictures"), "--quality", "0")
        self.assertEqual(code, 0, output)
        self.assertEqual(output.count("mean light"), 3)
        self.assertEqual(sorted(os.listdir(self.path("pictures"))),
                         ["classic.png", "light-and-shadows.png", "shadows.png"])


if __name__ == "__main__":
    unittest.main()
