# SPDX-License-Identifier: LGPL-2.1-or-later
"""The module kthost in a program whose numbers have a decimal comma: it reads and writes the same. Argument: the folder of
the libraries. Needs the program localedef and the sources of the locale de_DE."""
from __future__ import print_function

import locale
import os
import shutil
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.abspath(sys.argv[1]))
import kthost

SCENE = """<?xml version="1.0" encoding="UTF-8"?>
<X3D profile="Interchange" version="3.0"><Scene><Shape><IndexedFaceSet coordIndex="0 1 2 -1 0 2 3 -1 0 3 1 -1 3 2 1 -1">
<Coordinate point="0.25 0.25 0.5 1.75 0.25 0.5 0.75 1.75 0.5 0.75 0.75 -1.5"/></IndexedFaceSet></Shape></Scene></X3D>
"""


def bake(folder, name):
    kthost.open(os.path.join(folder, "box.x3d"), unit="m")
    kthost.settings.quality = 0
    kthost.bake()
    output = os.path.join(folder, name)
    kthost.save(output, exposure=1.25)
    with open(output, "rb") as opened:
        return opened.read()


def main():
    folder = tempfile.mkdtemp()
    with open(os.path.join(folder, "box.x3d"), "w") as opened:
        opened.write(SCENE)
    plain = bake(folder, "plain.glb")
    subprocess.check_call(["localedef", "-i", "de_DE", "-f", "UTF-8", os.path.join(folder, "de_DE.UTF-8")])
    os.environ["LOCPATH"] = folder
    locale.setlocale(locale.LC_ALL, "de_DE.UTF-8")
    assert locale.localeconv()["decimal_point"] == ","
    assert bake(folder, "comma.glb") == plain
    assert locale.localeconv()["decimal_point"] == ",", "the program's locale is as it was"
    shutil.rmtree(folder)


main()
