# SPDX-License-Identifier: LGPL-2.1-or-later
"""What the tests of kthost share. The first argument of the test is the folder of the libraries."""
from __future__ import print_function

import base64
import json
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

LIBRARIES = os.path.abspath(sys.argv.pop(1))
sys.path.insert(0, LIBRARIES)
import kthost
import ktAmbientOcclusion as ao
from script_scene import write_rooms

QUICK = (0, 1.0, 500.0, False, True, 0, 1, False, 80.0)


def read(path):
    with open(path, "rb") as opened:
        return opened.read()


def resident_bytes():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGESIZE")


def floats(view):
    return struct.unpack("%df" % (len(view.tobytes()) // 4), view.tobytes())


def run_script(text, *arguments):
    """Exit code and what was printed by a script in an interpreter of its own."""
    environment = dict(os.environ, PYTHONPATH=LIBRARIES)
    process = subprocess.Popen([sys.executable, "-c", text] + list(arguments), env=environment,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    output = process.communicate()[0].decode("utf-8", "replace")
    return process.returncode, output


def write_locked(path):
    document = {"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 1]}],
                "nodes": [{"name": "safe", "mesh": 0, "extras": {"locked": True}}, {"name": "empty"}],
                "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
                "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                               "min": [0, 0, 0], "max": [1, 1, 0]}],
                "bufferViews": [{"buffer": 0, "byteLength": 36}],
                "buffers": [{"byteLength": 36, "uri": "data:application/octet-stream;base64," + base64.b64encode(
                    struct.pack("<9f", 0, 0, 0, 1, 0, 0, 0, 1, 0)).decode("ascii")}]}
    with open(path, "w") as scene:
        json.dump(document, scene)


class Host(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.scene = os.path.join(self.folder, "rooms.obj")
        write_rooms(self.scene)

    def tearDown(self):
        kthost.on_progress(None)
        kthost.on_cancel(None)
        kthost.close()
        shutil.rmtree(self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def open(self, **options):
        kthost.open(self.scene, unit="mm", **options)

    def open_slow(self):
        """Opens a scene that slow() bakes for many seconds."""
        write_rooms(self.path("many.obj"), 8, 60)
        kthost.open(self.path("many.obj"), unit="mm")

    def slow(self):
        ao.computeAmbientOcclusion(5, 1.0, 500.0, False, True, 0, 1, False, 80.0)

    def geometry(self):
        return [node for node in kthost.nodes() if node.kind == "Geometry"]
