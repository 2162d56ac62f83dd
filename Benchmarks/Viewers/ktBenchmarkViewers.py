#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Shows a scene in three.js and in model-viewer, not baked and baked in several ways, and measures how much darker the
baked pictures are. Needs Chromium, and npm's packages "three" and "@google/model-viewer" in a folder of modules; says so
if they are missing. Downloads nothing.

    ktBenchmarkViewers.py SCENE.glb --ktbake build/release/bin/ktbake --modules node_modules --sheet FILE.png
"""
import argparse
import json
import os
import shlex
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(HERE))
import ktBrowserPage

VARIANTS = ["no bounces=--no-indirect", "1 bounce=--bounces 1", "2 bounces=--bounces 2",
            "1 bounce in colour=--bounces 1 --color-bleeding --no-override-color"]
PATIENCE_S = 300


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("scene")
    parser.add_argument("--ktbake", default="ktbake")
    parser.add_argument("--modules", default="node_modules", help="folder with npm's packages")
    parser.add_argument("--browser", default="chromium")
    parser.add_argument("--sheet", help="file for the pictures, side by side")
    parser.add_argument("--variant", action="append", help='"NAME=OPTIONS of ktbake"; may be repeated')
    return parser.parse_args()


def missing(arguments):
    """What is not there, one sentence each."""
    if not shutil.which(arguments.browser):
        yield "%s is not installed; on Debian: apt-get install chromium" % arguments.browser
    for package in ("three", "@google/model-viewer"):
        if not os.path.isdir(os.path.join(arguments.modules, package)):
            yield "%s holds no %s; npm install three @google/model-viewer makes it" % (arguments.modules, package)
    if not shutil.which(arguments.ktbake):
        yield "%s cannot be run; build it, or name it with --ktbake" % arguments.ktbake


def bake(arguments, folder):
    """Scenes as the page reads them; the first is not baked."""
    scenes = [{"name": "not baked", "url": "/scenes/0.glb"}]
    shutil.copy(arguments.scene, os.path.join(folder, "0.glb"))
    for variant in arguments.variant or VARIANTS:
        name, options = variant.split("=", 1)
        output = "%d.glb" % len(scenes)
        subprocess.run([arguments.ktbake, arguments.scene, "-o", os.path.join(folder, output), "--quiet"] +
                       shlex.split(options), check=True)
        scenes.append({"name": name, "url": "/scenes/" + output})
    return scenes


def main():
    arguments = parse()
    reasons = list(missing(arguments))
    if reasons:
        sys.exit("\n".join(reasons))
    with tempfile.TemporaryDirectory() as folder:
        results = ktBrowserPage.draw(HERE, bake(arguments, folder), folder, arguments, PATIENCE_S)
    viewers = list(dict.fromkeys(result["viewer"] for result in results))
    print("| bake | " + " | ".join(viewers) + " |\n| --- |" + " --- |" * len(viewers))
    for scene in list(dict.fromkeys(result["scene"] for result in results))[1:]:
        row = ["%.1f, %.1f" % (result["mean"], result["percentile95"]) for result in results if result["scene"] == scene]
        print("| %s | %s |" % (scene, " | ".join(row)))


if __name__ == "__main__":
    main()
