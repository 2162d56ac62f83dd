# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests scripts in ktbake, and the README's script. Arguments: the folder of the libraries, README.md."""
from __future__ import print_function

import io
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from script_scene import write_rooms

LIBRARIES, README = os.path.abspath(sys.argv.pop(1)), os.path.abspath(sys.argv.pop(1))
KTBAKE = os.path.join(LIBRARIES, os.pardir, "bin", "ktbake")


class Baker(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()

    def tearDown(self):
        shutil.rmtree(self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def read(self, name):
        with open(self.path(name), "rb") as opened:
            return opened.read()

    def write(self, name, text):
        with io.open(self.path(name), "w", encoding="utf-8") as script:
            script.write(text if isinstance(text, type(u"")) else text.decode("utf-8"))
        return self.path(name)

    def start(self, *command):
        return subprocess.Popen(command, cwd=self.folder, env=dict(os.environ, PYTHONPATH=LIBRARIES),
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def run_all(self, *command):
        """Returns the exit code and the output."""
        process = self.start(*command)
        output = process.communicate()[0].decode("utf-8", "replace")
        return process.returncode, output


class Readme(Baker):
    def test_ten_lines_give_what_ktbake_gives(self):
        with io.open(README, encoding="utf-8") as readme:
            script = re.search(u"```python\n(.*?)```", readme.read(), re.S).group(1)
        self.assertLessEqual(len(script.splitlines()), 10)
        scene = re.search(u'"(/.*?)"', script).group(1)
        self.write("engine.py", script)
        code, output = self.run_all(sys.executable, "engine.py")
        self.assertEqual(code, 0, output)
        expected = self.read("engine.glb"), self.read("engine.png")
        os.remove(self.path("engine.glb"))

        # Nine arguments: no override colour, subdivision quality 1 and threshold 0.05.
        code, output = self.run_all(
            KTBAKE, scene, "-o", "b.glb", "--preview", "b.png", "--shadow-quality", "1", "--min-distance", "1",
            "--max-distance", "500", "--indirect", "--color-bleeding", "--gather-quality", "0", "--bounces", "1",
            "--no-subdivide", "--min-edge-length", "80", "--no-override-color", "--subdivision-quality", "1",
            "--intensity-threshold", "0.05")
        self.assertEqual(code, 0, output)
        self.assertTrue(self.read("b.glb") == expected[0], "the scenes differ")
        self.assertTrue(self.read("b.png") == expected[1], "the pictures differ")

        code, output = self.run_all(KTBAKE, "--script", "engine.py")
        self.assertEqual(code, 0, output)
        self.assertTrue(self.read("engine.glb") == expected[0], "the script in ktbake differs")


class Script(Baker):
    def test_arguments_and_modules(self):
        self.write("script.py", u"import sys, kthost\nprint(sys.argv[1:])\nassert __name__ == '__main__'\n"
                                u"assert KT_AO_MODE_SHADOWS == 1\n")
        code, output = self.run_all(KTBAKE, "--script", "script.py", "--threads", "1", "--", "a b", "--help")
        self.assertEqual(code, 0, output)
        self.assertIn("['a b', '--help']", output)

    def test_failures_have_their_code_and_reason(self):
        for text, reason in ((u"import kthost\nkthost.open('missing.glb')\n", "missing.glb"),
                             (u"import sys\nsys.exit(3)\n", "3"), (u"import sys\nsys.exit('no light')\n", "no light"),
                             (u"this is no python\n", "SyntaxError")):
            code, output = self.run_all(KTBAKE, "--script", self.write("script.py", text))
            self.assertEqual(code, 5, output)
            self.assertIn(reason, output)
        self.write("script.py", u"import sys\nprint('said')\nsys.exit(0)\n")
        code, output = self.run_all(KTBAKE, "--script", "script.py")
        self.assertEqual(code, 0, output)
        self.assertIn("said", output)

    def test_wrong_usage(self):
        self.assertEqual(self.run_all(KTBAKE, "--script", "missing.py")[0], 3)
        self.write("script.py", u"")
        for options in (["scene.glb"], ["--shadow-quality", "2"], ["-o", "a.glb"]):
            code, output = self.run_all(KTBAKE, "--script", "script.py", *options)
            self.assertEqual(code, 2, output)
            self.assertIn("--script", output)

    def interrupt(self, script, what=signal.SIGINT):
        self.write("script.py", script)
        process = self.start(KTBAKE, "--script", "script.py")
        while b"ready" not in process.stdout.readline():
            self.assertIsNone(process.poll())
        time.sleep(0.2)
        begin = time.time()
        process.send_signal(what)
        output = process.communicate()[0].decode("utf-8")
        self.assertLess(time.time() - begin, 20)
        return process.returncode, output

    def test_ctrl_c_ends_a_loop(self):
        code, output = self.interrupt(u"import sys\nprint('ready')\nsys.stdout.flush()\nwhile True: pass\n")
        self.assertEqual(code, 130, output)
        self.assertIn("KeyboardInterrupt", output)

    def test_one_ctrl_c_ends_a_sleep(self):
        begin = time.time()
        code, output = self.interrupt(u"import sys, time\nprint('ready')\nsys.stdout.flush()\ntime.sleep(200)\n")
        self.assertEqual(code, 130, output)
        self.assertIn("KeyboardInterrupt", output)
        self.assertLess(time.time() - begin, 60)

    def test_a_request_to_terminate_ends_a_script(self):
        code, output = self.interrupt(u"import sys, time\nprint('ready')\nsys.stdout.flush()\ntime.sleep(200)\n",
                                      signal.SIGTERM)
        self.assertEqual(code, 130, output)

    def test_ctrl_c_ends_a_bake(self):
        write_rooms(self.path("many.obj"), 8, 60)
        code, output = self.interrupt(
            u"import sys, kthost\nkthost.open('many.obj', unit='mm')\nprint('ready')\nsys.stdout.flush()\n"
            u"try:\n    computeAmbientOcclusion(5, 1.0, 500.0, False, True, 0, 1, False, 80.0)\n"
            u"    while True: pass\nexcept KeyboardInterrupt:\n    print('interrupted')\n    raise\n")
        self.assertEqual(code, 130, output)
        self.assertIn("interrupted", output)


if __name__ == "__main__":
    unittest.main()
