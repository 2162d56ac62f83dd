#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes a scene in each mode: light from the sky only, shadows of the lights, colours of the lights too.

Draws a picture of each result and prints the mean light.

    PYTHONPATH=build/release/lib python3 Examples/modes.py scene.glb pictures
    ktbake --script Examples/modes.py -- scene.glb pictures
"""
from __future__ import print_function

import argparse
import os
import struct
import sys

import ktAmbientOcclusion as ao
import kthost

MODES = (("classic", ao.KT_AO_MODE_CLASSIC), ("shadows", ao.KT_AO_MODE_SHADOWS),
         ("light-and-shadows", ao.KT_AO_MODE_LIGHT_AND_SHADOWS))


def mean_light():
    """Mean over red, green and blue of all vertices with results. With NumPy: numpy.asarray(view).mean()."""
    total, count = 0.0, 0
    for node in kthost.nodes():
        if node.vertices:
            try:
                view = kthost.results(node)["light"].tobytes()
            except kthost.Error:  # not baked: hidden, locked or not selected
                continue
            values = struct.unpack("%df" % (len(view) // 4), view)
            total += sum(values)
            count += len(values)
    return total / count if count else 0.0


def main():
    parser = argparse.ArgumentParser(description="Compares the modes on a scene.")
    parser.add_argument("scene", help="scene to bake")
    parser.add_argument("folder", help="folder for the pictures; created if missing")
    parser.add_argument("--quality", type=int, default=2, choices=range(6), help="shadow quality")
    arguments = parser.parse_args()
    if not os.path.isdir(arguments.folder):
        os.makedirs(arguments.folder)

    before = ao.getAmbientOcclusionMode()
    for name, mode in MODES:
        kthost.open(arguments.scene)
        ao.setAmbientOcclusionMode(mode)
        ao.computeAmbientOcclusion(arguments.quality, 1.0, 500.0, False, True, 2, 1, False, 80.0)
        kthost.preview(os.path.join(arguments.folder, name + ".png"))
        print("%-17s  mean light %.3f" % (name, mean_light()))
    ao.setAmbientOcclusionMode(before)
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except kthost.Error as error:
        sys.exit(str(error))
