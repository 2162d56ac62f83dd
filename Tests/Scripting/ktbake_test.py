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
                             (u"import sys\nsys.exit(300)\n", "300"), (u"import sys\nsys.exit('no light')\n", "no light"),
                             (u"this is no python\n", "SyntaxError")):
            code, output = self.run_all(KTBAKE, "--script", self.write("script.py", text))
            self.assertEqual(code, 5, output)
            self.assertIn(reason, output)
        self.write("script.py", u"import sys\nprint('said')\nsys.exit(0)\n")
        code, output = self.run_all(KTBAKE, "--script", "script.py")
        self.assertEqual(code, 0, output)
        self.assertIn("said", output)

    def test_the_code_of_sys_exit_is_the_exit_code(self):
        for code in (1, 3, 130, 255):
            self.write("script.py", u"import sys\nsys.exit(%d)\n" % code)
            found, output = self.run_all(KTBAKE, "--script", "script.py")
            self.assertEqual(found, code, output)
            self.assertIn("exit code %d" % code, output)

    def test_wrong_usage(self):
        self.assertEqual(self.run_all(KTBAKE, "--script", "missing.py")[0], 3)
        self.write("script.py", u"")
        for options in (["--shadow-quality", "2"], ["-o", "a.glb"], ["--unit", "mm"], ["scene.glb", "--missing"],
                        ["scene.glb", "--stats", "a.json"]):
            code, output = self.run_all(KTBAKE, "--script", "script.py", *options)
            self.assertEqual(code, 2, output)
            self.assertIn("--script", output)
        code, output = self.run_all(KTBAKE, "scene.glb", "--script", "script.py", "-o", "a.obj")
        self.assertEqual(code, 2, output)
        self.assertIn(".glb", output)

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


class End(Baker):
    """The interpreter ends as a plain one does."""

    def run_script(self, text, *arguments):
        return self.run_all(KTBAKE, "--script", self.write("script.py", text), *arguments)

    def test_open_files_are_written_out(self):
        self.write("holder.py", u"held = []\n")
        code, output = self.run_script(
            u"import io, holder\n"
            u"opened = open('a.txt', 'w')\n"
            u"holder.held.append(io.open('b.txt', 'w'))\n"
            u"holder.held.append(open('c.txt', 'w'))\n"
            u"for i in range(1000):\n"
            u"    opened.write('row %d\\n' % i)\n"
            u"    holder.held[0].write(u'row %d\\n' % i)\n"
            u"    holder.held[1].write('row %d\\n' % i)\n")
        self.assertEqual(code, 0, output)
        for name in ("a.txt", "b.txt", "c.txt"):
            self.assertEqual(self.read(name).decode("ascii").splitlines(), ["row %d" % i for i in range(1000)], name)

    def test_threads_and_exit_functions_come_before_the_hooks(self):
        code, output = self.run_script(
            u"import atexit, sys, threading, time\n"
            u"kept = 'kept'\n"
            u"def late():\n    time.sleep(0.5)\n    print('thread ' + kept)\n"
            u"def forever():\n    while True: time.sleep(0.01)\n"
            u"atexit.register(lambda: print_('exit ' + kept))\n"
            u"def print_(text): print(text); sys.stdout.flush()\n"
            u"daemon = threading.Thread(target=forever)\ndaemon.daemon = True\ndaemon.start()\n"
            u"threading.Thread(target=late).start()\nprint_('end')\n")
        self.assertEqual(code, 0, output)
        lines = [line.strip() for line in output.splitlines()]
        expected = ["end", "thread kept", "exit kept", "pythonInit: destroy ktAmbientOcclusion!"]
        self.assertEqual([line for line in lines if line in expected], expected, output)

    def test_they_come_after_errors_and_exits_too(self):
        for last, expected in ((u"1 / 0\n", 5), (u"sys.exit(7)\n", 7), (u"", 0)):
            code, output = self.run_script(u"import atexit, sys\nopened = open('a.txt', 'w')\nopened.write('whole')\n"
                                           u"def f(): print('called')\natexit.register(f)\n" + last)
            self.assertEqual(code, expected, output)
            self.assertEqual(self.read("a.txt"), b"whole")
            self.assertIn("called", output)
            self.assertIn("pythonInit: destroy", output)

    def test_an_exit_function_that_fails_is_told_and_changes_nothing(self):
        for last in (u"raise ValueError('too late')", u"import sys\n    sys.exit(9)"):
            code, output = self.run_script(u"import atexit\nopened = open('a.txt', 'w')\nopened.write('whole')\n"
                                           u"def f():\n    " + last + u"\natexit.register(f)\n")
            self.assertEqual(code, 0, output)
            self.assertEqual(self.read("a.txt"), b"whole")
        code, output = self.run_script(u"import atexit\ndef f(): raise ValueError('too late')\natexit.register(f)\n")
        self.assertIn("too late", output)

    def test_ctrl_c_ends_the_wait_for_a_thread(self):
        self.write("script.py", u"import sys, threading, time\n"
                                u"def wait():\n    for i in range(3000): time.sleep(0.01)\n"
                                u"threading.Thread(target=wait).start()\nprint('ready')\nsys.stdout.flush()\n")
        process = self.start(KTBAKE, "--script", "script.py")
        while b"ready" not in process.stdout.readline():
            self.assertIsNone(process.poll())
        time.sleep(0.5)
        begin = time.time()
        process.send_signal(signal.SIGINT)
        output = process.communicate()[0].decode("utf-8")
        self.assertLess(time.time() - begin, 20)
        self.assertEqual(process.returncode, 130, output)

    def test_a_bake_in_an_exit_function_works(self):
        write_rooms(self.path("rooms.obj"))
        code, output = self.run_script(
            u"import atexit, kthost\nkthost.open('rooms.obj', unit='mm')\n"
            u"def f():\n    assert kthost.bake()\n    kthost.save('a.glb')\natexit.register(f)\n")
        self.assertEqual(code, 0, output)
        self.assertTrue(os.path.exists(self.path("a.glb")), output)


class OnAScene(Baker):
    def setUp(self):
        super(OnAScene, self).setUp()
        write_rooms(self.path("rooms.obj"))

    def test_a_script_gets_the_scene_and_what_it_leaves_is_saved(self):
        self.write("script.py", u"import kthost, sys\nassert sys.argv[1:] == ['a']\n"
                                u"assert [n.name for n in kthost.nodes() if n.name.startswith('room')]\n"
                                u"assert kthost.bake()\n")
        code, output = self.run_all(KTBAKE, "rooms.obj", "--script", "script.py", "-o", "a.glb", "--unit", "cm",
                                    "--preview", "a.png", "--preview-size", "64x48", "--preview-view", "top",
                                    "--preview-headlight", "--", "a")
        self.assertEqual(code, 0, output)
        self.assertEqual(self.read("a.png")[16:24], b"\0\0\0\x40\0\0\0\x30")
        self.assertEqual(self.read("a.png")[1:4], b"PNG")
        code, output = self.run_all(KTBAKE, "rooms.obj", "-o", "b.glb", "--unit", "cm")
        self.assertEqual(code, 0, output)
        self.assertTrue(self.read("a.glb") == self.read("b.glb"), "as without a script")

    def test_options_of_the_file_count(self):
        self.write("script.py", u"import kthost\nkthost.bake()\n")
        arguments = ["rooms.obj", "--unit", "mm", "--ground-plane", "--unique-instances", "--shade", "none",
                     "--exposure", "0.5"]
        code, output = self.run_all(KTBAKE, "--script", "script.py", "-o", "a.glb", *arguments)
        self.assertEqual(code, 0, output)
        code, output = self.run_all(KTBAKE, "-o", "b.glb", *arguments)
        self.assertEqual(code, 0, output)
        self.assertTrue(self.read("a.glb") == self.read("b.glb"))

    def test_without_an_output_nothing_is_saved(self):
        self.write("script.py", u"import kthost\nassert kthost.nodes()\n")
        before = sorted(os.listdir(self.folder))
        code, output = self.run_all(KTBAKE, "rooms.obj", "--script", "script.py")
        self.assertEqual(code, 0, output)
        self.assertEqual(sorted(os.listdir(self.folder)), before)

    def test_after_a_failure_the_output_is_as_it_was(self):
        for last, expected in ((u"1 / 0", 5), (u"sys.exit(4)", 4), (u"sys.exit('no')", 5)):
            self.write("a.glb", u"old")
            self.write("script.py", u"import kthost, sys\nkthost.bake()\n%s\n" % last)
            code, output = self.run_all(KTBAKE, "rooms.obj", "--script", "script.py", "-o", "a.glb")
            self.assertEqual(code, expected, output)
            self.assertEqual(self.read("a.glb"), b"old")

    def test_sys_exit_without_a_failure_saves(self):
        self.write("script.py", u"import sys\nsys.exit(0)\n")
        code, output = self.run_all(KTBAKE, "rooms.obj", "--script", "script.py", "-o", "a.glb")
        self.assertEqual(code, 0, output)
        self.assertTrue(os.path.exists(self.path("a.glb")))

    def test_files_that_cannot_be_read_or_written_have_their_codes(self):
        self.write("script.py", u"import kthost\nkthost.bake()\n")
        code, output = self.run_all(KTBAKE, "missing.obj", "--script", "script.py")
        self.assertEqual(code, 3, output)
        self.assertIn("missing.obj", output)
        self.assertNotIn("Traceback", output)
        code, output = self.run_all(KTBAKE, "rooms.obj", "--script", "script.py", "-o", "no/such/folder.glb")
        self.assertEqual(code, 4, output)
        self.write("script.py", u"import kthost\nkthost.close()\n")
        code, output = self.run_all(KTBAKE, "rooms.obj", "--script", "script.py", "-o", "a.glb")
        self.assertEqual(code, 4, output)
        self.assertIn("no scene is open", output)

    def test_names_of_any_letters(self):
        name = u"r\u00f6\u00f6ms 'x' \\ \u65e5.obj"
        os.rename(self.path("rooms.obj"), os.path.join(self.folder, name.encode("utf-8").decode(
            sys.getfilesystemencoding(), "ignore")) if sys.version_info[0] >= 3 else
            os.path.join(self.folder, name.encode("utf-8")))
        self.write("script.py", u"import kthost\nassert kthost.nodes()\n")
        code, output = self.run_all(KTBAKE, name if sys.version_info[0] >= 3 else name.encode("utf-8"), "--script",
                                    "script.py")
        self.assertEqual(code, 0, output)


if __name__ == "__main__":
    unittest.main()
