#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes a scene with every preset and draws each result from all sides, so that you can choose by eye.

    PYTHONPATH=build/release/lib python3 Examples/presets.py scene.glb pictures
    ktbake --script Examples/presets.py -- scene.glb pictures --views 36
    ffmpeg -framerate 12 -pattern_type glob -i 'pictures/02-*.png' car-low-quality.mp4
"""
from __future__ import print_function

import argparse
import os
import re
import sys

import kthost


def main():
    parser = argparse.ArgumentParser(description="Draws a scene with every preset from all sides.")
    parser.add_argument("scene", help="scene to bake")
    parser.add_argument("folder", help="folder for the pictures; created if missing")
    parser.add_argument("--presets", nargs="+", metavar="NAME", help="only these presets")
    parser.add_argument("--views", type=int, default=4, help="number of pictures per preset, evenly around the scene")
    parser.add_argument("--size", nargs=2, type=int, default=(1280, 960), metavar=("WIDTH", "HEIGHT"),
                        help="size of the pictures in pixels")
    arguments = parser.parse_args()
    if arguments.views < 1:
        parser.error("argument --views: at least one")
    if not os.path.isdir(arguments.folder):
        os.makedirs(arguments.folder)

    for number, name in enumerate(arguments.presets or kthost.presets(), 1):
        kthost.open(arguments.scene)  # opened again, so that no preset starts from the results of another
        kthost.apply_preset(name)
        if not kthost.bake():
            return "cancelled"
        label = "%02d-%s" % (number, re.sub(r"\W+", "-", name).strip("-"))
        for view in range(arguments.views):
            picture = os.path.join(arguments.folder, "%s-%03d.png" % (label, view))
            kthost.preview(picture, *arguments.size, turn=360.0 * view / arguments.views)
        print("%s-*.png: %s" % (label, name))
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except kthost.Error as error:
        sys.exit(str(error))
