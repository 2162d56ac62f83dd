#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Bakes models before and after gltf-transform and gltfpack, and checks that _AO is the same: within what the tools
round. Also bakes with --compress draco and meshopt. Decodes all results with the reference decoders, and draws them in
three.js if Chromium is installed. Needs node and the packages of package.json; says so if they are missing. Ends with 1 if
a file bakes to something else.

    ktCheckPipelines.py --ktbake build/test/bin/ktbake --modules node_modules --sheet sheet.png [MODEL...]
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(HERE))
import ktBrowserPage

ASSIMP = "/usr/share/assimp/models/"
MODELS = ["glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb",
          "PLY/Wuson.ply", "OBJ/spider.obj", "Collada/duck.dae", "Collada/teapots.DAE", "STL/Spider_ascii.stl",
          "MD2/faerie.md2", "FBX/spider.fbx"]
# Vertices keep their values, as light at the vertices does not depend on the triangles that a tool makes.
BAKE = ["--fit", "vertices", "--no-indirect", "--shadow-quality", "1"]
TOOLS = ["optimize", "draco", "meshopt", "quantize", "instance", "-c", "-cc"]
OWN = ["--compress draco", "--compress meshopt"]
MOST_MEAN = 0.01      # of _AO; rays start at rounded positions, with rounded normals
LEAST_MATCHED = 0.95  # of the vertices; tools may move or add some
MOST_PICTURE = 4      # of 255, mean over the model
PATIENCE_S = 600


def parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("models", nargs="*", default=[ASSIMP + model for model in MODELS], metavar="MODEL")
    parser.add_argument("--ktbake", default="ktbake")
    parser.add_argument("--modules", default="node_modules", help="folder with npm's packages")
    parser.add_argument("--browser", default="chromium")
    parser.add_argument("--sheet", help="file for the pictures, a row for each model")
    return parser.parse_args()


def missing(arguments):
    """What is not there, one sentence each."""
    if not shutil.which("node"):
        yield "node is not installed; on Debian: apt-get install nodejs"
    for package in json.load(open(os.path.join(HERE, "package.json")))["dependencies"]:
        if not os.path.isdir(os.path.join(arguments.modules, package)):
            yield "%s holds no %s; npm install makes it, see README.md" % (arguments.modules, package)
    if not shutil.which(arguments.ktbake):
        yield "%s cannot be run; build it, or name it with --ktbake" % arguments.ktbake


def run(command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, universal_newlines=True)
    if result.returncode:
        sys.exit("%s\nended with %d:\n%s" % (" ".join(command), result.returncode, result.stdout))


def pack(arguments, tool, source, target):
    """Runs one tool."""
    if tool.startswith("-"):
        run(["node", os.path.join(arguments.modules, "gltfpack/cli.js"), "-i", source, "-o", target, tool])
    else:
        run(["node", os.path.join(arguments.modules, "@gltf-transform/cli/bin/cli.js"), tool, source, target])


def bake_all(arguments, model, number, folder):
    """The baked files of a model: (tool, name of the file), the source first."""
    def path(name):
        return os.path.join(folder, "%d-%s.glb" % (number, name.replace(" ", "")))

    # Other formats become glTF; --clear of a file without results only copies.
    run([arguments.ktbake, model, "-o", path("source"), "--clear", "shadows", "--quiet"])
    files = []
    for tool in ["none"] + TOOLS + OWN:
        source, options, baked = path("source"), BAKE, path(tool + "-baked")
        if tool in TOOLS:
            pack(arguments, tool, source, path(tool))
            source = path(tool)
        elif tool in OWN:
            options = BAKE + tool.split()
        run([arguments.ktbake, source, "-o", baked, "--quiet"] + options)
        files.append((tool, baked))
    return files


def compare(arguments, files):
    """How far _AO of each file is from that of the first."""
    out = subprocess.run(["node", os.path.join(HERE, "compare.mjs"), arguments.modules] + [file for _, file in files],
                         check=True, stdout=subprocess.PIPE, universal_newlines=True).stdout
    return [json.loads(line) for line in out.splitlines()]


def main():
    arguments = parse()
    reasons = list(missing(arguments))
    if reasons:
        sys.exit("\n".join(reasons))
    rows, models = [], []
    with tempfile.TemporaryDirectory() as folder:
        for number, model in enumerate(arguments.models):
            name = os.path.basename(model)
            print("baking " + name, file=sys.stderr, flush=True)
            files = bake_all(arguments, model, number, folder)
            results = compare(arguments, files)
            models.append({"name": name, "scenes": [{"tool": tool, "url": "/scenes/" + os.path.basename(file)}
                                                    for tool, file in files]})
            rows += [(name, tool, result, os.path.getsize(files[0][1]), os.path.getsize(file))
                     for (tool, file), result in zip(files[1:], results)]
        pictures = {}
        if shutil.which(arguments.browser):
            drawn = ktBrowserPage.draw(HERE, models, folder, arguments, PATIENCE_S)
            pictures = {(result["model"], result["tool"]): result["mean"] for result in drawn}
        else:
            print("%s is not installed, so no pictures are compared" % arguments.browser, file=sys.stderr)
    bad = 0
    print("| model | tool | size | vertices found | `_AO`: mean, 95 % | picture |\n| --- | --- | --- | --- | --- | --- |")
    for name, tool, result, whole, size in rows:
        picture = pictures.get((name, tool))
        if not result["matched"]:
            print("| %s | `%s` | | 0 %% | | | DIFFERS" % (name, tool))
            bad += 1
            continue
        is_good = (result["matched"] >= LEAST_MATCHED and result["mean"] <= MOST_MEAN and
                   (picture is None or picture <= MOST_PICTURE))
        bad += not is_good
        print("| %s | `%s` | %.0f %% | %.1f %% | %.4f, %.4f | %s |%s" % (
            name, tool, 100.0 * size / whole, 100 * result["matched"], result["mean"], result["percentile95"],
            "-" if picture is None else "%.2f" % picture, "" if is_good else " DIFFERS"))
    sys.exit(1 if bad else 0)


if __name__ == "__main__":
    main()
