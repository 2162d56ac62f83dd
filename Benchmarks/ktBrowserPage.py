# SPDX-License-Identifier: LGPL-2.1-or-later
"""Opens a page in headless Chromium that draws scenes, and takes its results. The benchmarks of viewers and pipelines use it.

The page finds its scenes in /scenes.json and files below /modules/ and /scenes/. It posts each result as JSON to any path,
and at its end {"sheet": data URL} or {"error": text} to /done.
"""
import base64
import functools
import http.server
import json
import os
import subprocess
import sys
import threading


class Handler(http.server.SimpleHTTPRequestHandler):
    """Serves the page, the modules and the scenes, and takes the results."""

    def __init__(self, *arguments, state, **more):
        self.state = state
        super().__init__(*arguments, **more)

    def translate_path(self, path):
        parts = os.path.normpath(path.split("?")[0]).strip("/").split("/", 1)
        folder = self.state["folders"].get(parts[0])
        return os.path.join(folder, parts[1]) if folder else os.path.join(self.state["page"], *parts)

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


def draw(page, scenes, folder, arguments, patience_s):
    """The results of page.html. Writes its sheet of pictures if there is a file for it. Ends the program on failure.

    page: folder of page.html; scenes: what /scenes.json holds; folder: the scenes' files, and the browser's profile
    arguments: browser, modules and sheet of the command line
    """
    state = {"page": page, "scenes": scenes, "results": [], "done": threading.Event(),
             "error": "the browser gave no answer",
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
        state["done"].wait(patience_s)
    finally:
        browser.terminate()
        browser.wait()
        server.shutdown()
    if state["error"]:
        sys.exit("the pictures cannot be drawn: " + state["error"])
    if arguments.sheet:
        with open(arguments.sheet, "wb") as picture:
            picture.write(base64.b64decode(state["sheet"].split(",", 1)[1]))
    return state["results"]
