#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes a scene with every preset and draws a picture of each, to choose by eye.

    PYTHONPATH=build/release/lib python3 Examples/presets.py scene.glb pictures
    ktbake --script Examples/presets.py -- scene.glb pictures
"""
from __future__ import print_function

import argparse
import os
import re
import sys

import kthost


def main():
    parser = argparse.ArgumentParser(description="Draws a scene once with every preset.")
    parser.add_argument("scene", help="scene to bake")
    parser.add_argument("folder", help="folder for the pictures, made when it is missing")
    parser.add_argument("--presets", nargs="+", metavar="NAME", help="only these presets")
    parser.add_argument("--size", nargs=2, type=int, default=(1280, 960), metavar=("WIDTH", "HEIGHT"),
                        help="of the pictures, in pixels")
    arguments = parser.parse_args()
    if not os.path.isdir(arguments.folder):
        os.makedirs(arguments.folder)

    for number, name in enumerate(arguments.presets or kthost.presets(), 1):
        kthost.open(arguments.scene)  # anew, so that no preset starts from the results of another
        kthost.apply_preset(name)
        if not kthost.bake():
            return "cancelled"
        picture = "%02d-%s.png" % (number, re.sub(r"\W+", "-", name).strip("-"))
        kthost.preview(os.path.join(arguments.folder, picture), *arguments.size)
        print("%s: %s" % (picture, name))
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except kthost.Error as error:
        sys.exit(str(error))
