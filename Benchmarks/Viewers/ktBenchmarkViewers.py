#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Shows a scene in three.js and in model-viewer, not baked and baked in several ways, and measures how much darker the
baked pictures are. Needs Chromium, and npm's packages "three" and "@google/model-viewer" in a folder of modules; says so
if they are missing. Downloads nothing.

    ktBenchmarkViewers.py SCENE.glb --ktbake build/release/bin/ktbake --modules node_modules --sheet FILE.png
"""
import argparse
import base64
import functools
import http.server
import json
import os
import shlex
import shutil
import subprocess
import sys
import tempfile
import threading

HERE = os.path.dirname(os.path.abspath(__file__))
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


class Handler(http.server.SimpleHTTPRequestHandler):
    """Serves the page, the modules and the scenes, and takes the results."""

    def __init__(self, *arguments, state, **more):
        self.state = state
        super().__init__(*arguments, **more)

    def translate_path(self, path):
        path = super().translate_path(path)
        relative = os.path.relpath(path, os.getcwd())
        for prefix, folder in self.state["folders"].items():
            if relative.startswith(prefix + os.sep):
                return os.path.join(folder, os.path.relpath(relative, prefix))
        return os.path.join(HERE, relative)

    def do_GET(self):
        if self.path != "/scenes.json":
            super().do_GET()
            return
        self.answer(json.dumps(self.state["scenes"]).encode())

    def do_POST(self):
        result = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        if self.path == "/done":
            self.state.update(error=result.get("error"), sheet=result.get("sheet"))
            self.state["done"].set()
        else:
            self.state["results"].append(result)
        self.answer(b"{}")

    def answer(self, content):
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)

    def log_message(self, *arguments):
        pass


def draw(arguments, scenes, folder):
    """The page's results (viewer, scene, pixels, mean, percentile95), and the pictures as a data URL."""
    state = {"scenes": scenes, "results": [], "done": threading.Event(), "error": "the browser gave no answer",
             "folders": {"modules": os.path.abspath(arguments.modules), "scenes": folder}}
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Handler, state=state))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    # SwiftShader draws in software, so the pictures do not depend on the machine's graphics.
    browser = subprocess.Popen(
        [arguments.browser, "--headless=new", "--no-sandbox", "--use-gl=angle", "--use-angle=swiftshader",
         "--enable-unsafe-swiftshader", "--user-data-dir=" + os.path.join(folder, "profile"),
         "http://127.0.0.1:%d/page.html" % server.server_port],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        state["done"].wait(PATIENCE_S)
    finally:
        browser.terminate()
        browser.wait()
        server.shutdown()
    if state["error"]:
        sys.exit("the pictures cannot be drawn: " + state["error"])
    return state["results"], state["sheet"]


def main():
    arguments = parse()
    reasons = list(missing(arguments))
    if reasons:
        sys.exit("\n".join(reasons))
    with tempfile.TemporaryDirectory() as folder:
        results, sheet = draw(arguments, bake(arguments, folder), folder)
    viewers = list(dict.fromkeys(result["viewer"] for result in results))
    print("| bake | " + " | ".join(viewers) + " |\n| --- |" + " --- |" * len(viewers))
    for scene in list(dict.fromkeys(result["scene"] for result in results))[1:]:
        row = ["%.1f, %.1f" % (result["mean"], result["percentile95"]) for result in results if result["scene"] == scene]
        print("| %s | %s |" % (scene, " | ".join(row)))
    if arguments.sheet:
        with open(arguments.sheet, "wb") as picture:
            picture.write(base64.b64decode(sheet.split(",", 1)[1]))


if __name__ == "__main__":
    main()
