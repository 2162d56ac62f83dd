#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes all scenes of a folder into another folder. If a scene fails, prints the reason and continues with the next.

    PYTHONPATH=build/release/lib python3 Examples/batch.py scenes baked --preset NAME
    ktbake --script Examples/batch.py -- scenes baked
"""
from __future__ import print_function

import argparse
import os
import sys

import kthost

ENDINGS = (".glb", ".gltf", ".obj", ".ply", ".stl", ".fbx", ".dae")


def main():
    parser = argparse.ArgumentParser(description="Bakes all scenes of a folder.")
    parser.add_argument("scenes", help="folder with the scenes: " + ", ".join(ENDINGS))
    parser.add_argument("baked", help="folder for the results; created if missing")
    parser.add_argument("--preset", metavar="NAME", help="settings to bake with")
    parser.add_argument("--unit", default="auto", help="of the files: auto, mm, cm, m, inch, foot or a number of mm")
    parser.add_argument("--again", action="store_true", help="also bake scenes whose results are up to date")
    arguments = parser.parse_args()
    if not os.path.isdir(arguments.baked):
        os.makedirs(arguments.baked)
    if arguments.preset:
        kthost.apply_preset(arguments.preset)

    failed = 0
    for name in sorted(os.listdir(arguments.scenes)):
        if not name.lower().endswith(ENDINGS):
            continue
        scene = os.path.join(arguments.scenes, name)
        result = os.path.join(arguments.baked, name.replace(".", "-") + ".glb")
        if not arguments.again and os.path.exists(result) and os.path.getmtime(result) >= os.path.getmtime(scene):
            print("%s: up to date" % name)
            continue
        try:
            kthost.open(scene, unit=arguments.unit)
            if not kthost.bake():
                return "cancelled"
            kthost.save(result)
            print("%s: baked" % name)
        except kthost.Error as error:
            failed += 1
            print("%s: failed: %s" % (name, error))
    kthost.close()
    return 1 if failed else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except kthost.Error as error:
        sys.exit(str(error))
