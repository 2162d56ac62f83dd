# SPDX-License-Identifier: LGPL-2.1-or-later
"""Tests presets by name, and processes that save them at once, Python 2.7 or 3. Argument: the folder of the libraries."""
from __future__ import print_function

import fcntl
import os
import re
import shutil
import subprocess
import sys
import time
import unittest

FOLDER = os.environ["KT_PREFERENCES_DIR"]
shutil.rmtree(FOLDER, ignore_errors=True)
from script_host import LIBRARIES, ao, kthost, run_script

FILE = os.path.join(FOLDER, "aotemplates.xml")
SAVE_MANY = """
import sys, kthost
while True:
    try:
        open(sys.argv[2])
        break
    except IOError:
        pass
for number in range(int(sys.argv[3])):
    kthost.save_preset("%s %d" % (sys.argv[1], number))
    if number % 3 == 2:
        kthost.delete_preset("%s %d" % (sys.argv[1], number))
    kthost.save_preset("shared")
"""


def in_file():
    """The names in the file, in order."""
    with open(FILE) as opened:
        names = re.search(r'<list name="name".*?</list>', opened.read(), re.S).group(0)
    return re.findall("<item>(.*?)</item>", names)


def set_distance(value):
    """Changes a setting; nothing is baked, because no scene is open."""
    ao.computeAmbientOcclusion(0, 0.0, value, False, True, 0, 1, False, 80.0)


def distance():
    return kthost.settings()["maxDistance"]


class ByName(unittest.TestCase):
    def setUp(self):
        kthost.close()
        self.before = kthost.presets()

    def tearDown(self):
        for name in set(kthost.presets()) - set(self.before):
            kthost.delete_preset(name)

    def test_saving_replaces(self):
        set_distance(0.25)
        kthost.save_preset("mine")
        set_distance(0.5)
        kthost.save_preset("mine")
        self.assertEqual(kthost.presets().count("mine"), 1)
        self.assertEqual(in_file().count("mine"), 1)
        set_distance(0.125)
        kthost.apply_preset("mine")
        self.assertEqual(distance(), 0.5)

    def test_saving_does_not_replace_if_told(self):
        set_distance(0.25)
        kthost.save_preset("mine", replace=False)
        set_distance(0.5)
        with self.assertRaises(kthost.Error) as caught:
            kthost.save_preset("mine", replace=False)
        self.assertIn('"mine"', str(caught.exception))
        kthost.apply_preset("mine")
        self.assertEqual(distance(), 0.25)

    def test_a_name_means_all_presets_of_that_name(self):
        set_distance(0.25)
        kthost.save_preset("twin 1")
        set_distance(0.5)
        kthost.save_preset("twin 2")
        with open(FILE) as opened:
            text = opened.read()
        # As another program may write the file.
        with open(FILE, "w") as out:
            out.write(text.replace("twin 1", "twin").replace("twin 2", "twin"))
        environment = dict(os.environ, PYTHONPATH=LIBRARIES)
        script = "import kthost\nkthost.apply_preset('twin')\nprint(kthost.settings()['maxDistance'])\n"
        process = subprocess.Popen([sys.executable, "-c", script], env=environment, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        output, messages = process.communicate()
        self.assertEqual(output.decode().strip(), "0.25")
        self.assertIn('2 presets are called "twin"; the first is applied', messages.decode())
        set_distance(0.75)
        kthost.save_preset("twin")
        self.assertEqual(in_file().count("twin"), 1)
        kthost.apply_preset("twin")
        self.assertEqual(distance(), 0.75)
        kthost.delete_preset("twin")
        self.assertNotIn("twin", in_file())

    def test_a_preset_that_cannot_be_written_is_not_kept(self):
        kthost.save_preset("mine")
        set_distance(0.5)
        os.rename(FILE, FILE + ".away")
        os.symlink("/proc/nothing/" + os.path.basename(FILE), FILE)  # not even root can create a file there
        try:
            with self.assertRaises(kthost.Error) as caught:
                kthost.save_preset("mine")
        finally:
            os.remove(FILE)
            os.rename(FILE + ".away", FILE)
        self.assertIn("aotemplates.xml", str(caught.exception))
        self.assertEqual(in_file().count("mine"), 1)
        kthost.save_preset("next")
        self.assertEqual(kthost.presets().count("mine"), 1)


class AtOnce(unittest.TestCase):
    """Processes that save at once."""

    def test_another_process_is_seen(self):
        kthost.save_preset("ours")
        code, output = run_script("import kthost\nkthost.save_preset('theirs')\n")
        self.assertEqual(code, 0, output)
        kthost.apply_preset("theirs")
        kthost.save_preset("ours too")
        self.assertTrue(set(["ours", "theirs", "ours too"]) <= set(in_file()), in_file())
        for name in ("ours", "theirs", "ours too"):
            kthost.delete_preset(name)

    def test_nothing_is_lost(self):
        count = 60
        for first in (False, True):
            if first:
                os.remove(FILE)
            gate = os.path.join(FOLDER, "gate")
            environment = dict(os.environ, PYTHONPATH=LIBRARIES)
            processes = [subprocess.Popen([sys.executable, "-c", SAVE_MANY, name, gate, str(count)], env=environment,
                                          stderr=subprocess.PIPE) for name in ("left", "right")]
            time.sleep(0 if first else 0.5)
            open(gate, "w").close()
            for process in processes:
                self.assertEqual(process.communicate()[1], b"")
            os.remove(gate)
            expected = set("%s %d" % (name, number) for name in ("left", "right") for number in range(count)
                           if number % 3 != 2)
            found = in_file()
            self.assertEqual(expected - set(found), set())
            self.assertEqual(found.count("shared"), 1)
            self.assertEqual(found.count("Default"), 1)
            self.assertEqual(len(found), len(set(found)))

    def test_a_lock_that_stays_is_told(self):
        with open(FILE + ".lock", "a") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            begin = time.time()
            with self.assertRaises(kthost.Error) as caught:
                kthost.save_preset("late")
            self.assertLess(time.time() - begin, 30)
            self.assertIn("aotemplates.xml.lock", str(caught.exception))
        self.assertNotIn("late", in_file())
        kthost.save_preset("late")
        self.assertIn("late", in_file())
        kthost.delete_preset("late")

    def test_a_lock_of_a_killed_process_is_none(self):
        script = ("import fcntl, os\nlock = open(%r, 'a')\nfcntl.flock(lock, fcntl.LOCK_EX)\n"
                  "os.kill(os.getpid(), 9)\n" % (FILE + ".lock"))
        self.assertNotEqual(run_script(script)[0], 0)
        kthost.save_preset("after")
        kthost.delete_preset("after")


if __name__ == "__main__":
    unittest.main()
