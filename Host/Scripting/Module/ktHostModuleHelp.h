// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Help texts of the module `kthost`.
namespace ktHostModuleHelp {

inline const char module[] =
    "Scenes, nodes, presets, progress, results and undo for scripts that bake.\n\n"
    "The module ktAmbientOcclusion calculates. This module opens, selects, draws and saves. World units are\n"
    "millimetres. Failures raise kthost.Error; arguments of a wrong type raise TypeError. Call all functions\n"
    "except cancel() on the main thread; on other threads they raise kthost.Error.\n\n"
    "    import kthost, ktAmbientOcclusion\n"
    "    kthost.open(\"scene.glb\")\n"
    "    ktAmbientOcclusion.computeAmbientOcclusion(2, 1.0, 500.0, False, True, 2, 1, False, 80.0)\n"
    "    kthost.save(\"baked.glb\")\n";

inline const char error[] = "A call of kthost failed. The text names the file or the node, and the reason.";

inline const char open[] =
    "open(path, unit=\"auto\", unique_instances=False, ground_plane=False, up=\"auto\", crease_angle=30.0, "
    "keep_vertices=False)\n\n"
    "Closes the current scene, opens another (glTF, OBJ, PLY, STL, FBX, Collada and more), and selects its top\n"
    "nodes. Warnings go to the log.\n\n"
    "@param path: The file.\n@type path: str or os.PathLike\n"
    "@param unit: Length of one unit of the file: \"auto\", \"mm\", \"cm\", \"m\", \"inch\", \"foot\", or\n"
    "    millimetres as a number above 0.\n@type unit: str or float\n"
    "@param unique_instances: Gives each use of a mesh its own results.\n@type unique_instances: bool\n"
    "@param ground_plane: Adds a plane below the scene that shows its shadow, unless the scene has one. The plane is\n"
    "    one of the top nodes.\n@type ground_plane: bool\n"
    "@param up: Axis of the file that points up: \"x\", \"y\" or \"z\"; \"auto\" is what the file says, else y. World\n"
    "    space has y up.\n@type up: str\n"
    "@param crease_angle: Degrees, 0 to 180. Surfaces without normals are smooth across edges up to this angle. At\n"
    "    sharper edges, vertices are split.\n@type crease_angle: float\n"
    "@param keep_vertices: Vertices are not split; the sides of a sharp edge share one value.\n"
    "@type keep_vertices: bool\n"
    "@raise kthost.Error: The file cannot be read or holds nothing to bake. The current scene then stays open, also\n"
    "    after Ctrl-C.";

inline const char close[] = "close()\n\nCloses the scene. Does nothing if no scene is open.\n\n"
                            "@raise kthost.Error: A bake is running.";

inline const char save[] =
    "save(path, shade=\"multiply\", exposure=1.0, strength=1.0, compress=\"as-input\")\n\n"
    "Writes the scene with its results as .glb or .gltf. After a failure, an existing file is unchanged.\n\n"
    "@param path: The file.\n@type path: str or os.PathLike\n"
    "@param shade: \"multiply\" multiplies the vertex colours by the light, for viewers; \"none\" keeps them.\n"
    "@type shade: str\n"
    "@param exposure: Factor for that light, above 0.\n@type exposure: float\n"
    "@param strength: How strongly that light darkens the colours, 0 to 10: light below 1 is raised to this power.\n"
    "    The exact results stay.\n@type strength: float\n"
    "@param compress: How the geometry is compressed: \"as-input\", \"draco\", \"meshopt\" or \"none\".\n"
    "@type compress: str\n"
    "@raise kthost.Error: No scene is open, a value is out of range, or the file cannot be written.";

inline const char preview[] =
    "preview(path, width=1280, height=960, exposure=1.0, turn=0.0, view=\"three-quarter\", headlight=False,\n"
    "        progress=None)\n\n"
    "Draws the baked scene into a PNG file.\n\n"
    "@param path: The file.\n@type path: str or os.PathLike\n"
    "@param width: Pixels, 1 to 16384.\n@type width: int\n"
    "@param height: Pixels, 1 to 16384.\n@type height: int\n"
    "@param exposure: Factor for the light, above 0.\n@type exposure: float\n"
    "@param turn: Turns the camera around the scene, in degrees, counterclockwise seen from above.\n"
    "@type turn: float\n"
    "@param view: Where the camera is: \"three-quarter\", \"front\", \"back\", \"left\", \"right\", \"top\" or "
    "\"bottom\",\n"
    "    \"camera\" for the file's first camera, or the name of one of its cameras. The front is at +z, the right "
    "side\n"
    "    at +x.\n@type view: str\n"
    "@param headlight: Adds a soft light at the camera, so that convex parts have shape.\n@type headlight: bool\n"
    "@param progress: Called as progress(share) on the main thread while the picture is drawn, at most 20 times a\n"
    "    second, with a float up to 1.0. An exception in it ends the drawing, and preview() raises it.\n"
    "@type progress: callable or None\n"
    "@raise kthost.Error: No scene is open, there is no such view, a value is out of range, or the file cannot be\n"
    "    written. An existing file is then unchanged, also after Ctrl-C.";

inline const char nodes[] = "nodes()\n\nReturns all nodes of the scene, parents before their children.\n\n"
                            "@rtype: list of kthost.Node\n@raise kthost.Error: No scene is open.";

inline const char find[] =
    "find(name)\n\n"
    "Returns the nodes of that name, or of that path (names separated by \"/\", with wildcards *, ? and [...]).\n"
    "The selection stays.\n\n"
    "@type name: str\n@rtype: list of kthost.Node\n@raise kthost.Error: No scene is open.";

inline const char select[] =
    "select(nodes=None)\n\n"
    "Replaces the selection, which says what to bake.\n\n"
    "@param nodes: A node or a list of nodes: each a kthost.Node, a name, or a path (names separated by \"/\",\n"
    "    with wildcards *, ? and [...]). A text selects all nodes that it names. None selects the file's top\n"
    "    nodes.\n@type nodes: kthost.Node, str, list or None\n"
    "@return: The selected nodes, without those below another selected one.\n@rtype: list of kthost.Node\n"
    "@raise kthost.Error: No scene is open, or a name matches no node. The selection is then unchanged.";

inline const char selection[] =
    "selection()\n\nReturns the selected nodes, without those below another selected one.\n\n"
    "@rtype: list of kthost.Node";

inline const char results[] =
    "results(node)\n\n"
    "Returns the results of a geometry as read-only memoryviews. NumPy uses them without a copy:\n"
    "numpy.asarray(results(node)[\"ao\"]). They keep the values at the time of the call, and stay valid when the\n"
    "scene changes or is closed. One row per vertex, float32, unless noted:\n\n"
    "    positions  x, y, z in object space\n"
    "    triangles  three vertex indices; one row per triangle, uint32\n"
    "    ao         direct result: 1 in the open, 0 fully occluded\n"
    "    indirect   red, green, blue of the bounced light, linear\n"
    "    light      red, green, blue of all incoming light, linear\n\n"
    "@param node: A kthost.Node, a name or a path. If a text names several nodes, the first one with geometry is\n"
    "    used.\n@type node: kthost.Node or str\n@rtype: dict of str to memoryview\n"
    "@raise kthost.Error: There is no such node, it holds no geometry or several (pass one of node.geometry), the\n"
    "    geometry consists of points or lines, or it has no results.";

inline const char bake[] =
    "bake(missing=False, keep=\"finished\")\n\n"
    "Bakes the selection with the current settings: those of apply_preset() or of the last calculation. Distances\n"
    "that were never set follow the scene's size; the log says how.\n"
    "If the bake does not finish, geometry gets its earlier results back.\n\n"
    "@param missing: Bakes only what has no results yet.\n@type missing: bool\n"
    "@param keep: What stays after a cancel or an error: \"finished\" keeps the new results of geometry that all\n"
    "    passes have finished, \"none\" keeps no new results.\n@type keep: str\n"
    "@return: True if the bake finished, also if nothing was missing. False if it was cancelled.\n@rtype: bool\n"
    "@raise kthost.Error: No scene is open, nothing is selected, all of it is locked, the selection holds no\n"
    "    geometry, the mode needs a light and the scene has none, or a bake is running. Then no results are changed,\n"
    "    and the log has the reason, too. Or the bake failed.";

inline const char settings[] =
    "The settings of the next bake. Each is an attribute with the name of the keyword of computeAmbientOcclusion, or\n"
    "\"mode\". Assigning a value that differs is one undo step, and bakes nothing. Distances are in millimetres.\n\n"
    "    kthost.settings.maxDistance = 500\n"
    "    kthost.settings()[\"maxDistance\"]\n\n"
    "@raise kthost.Error: The value is out of range or NaN, or a bake is running.\n"
    "@raise TypeError: The value has another type.\n@raise AttributeError: There is no such setting.";

inline const char settingsCall[] = "Returns all settings as a dictionary.\n\n@rtype: dict";

inline const char stats[] =
    "stats()\n\n"
    "Returns the times and counts of the open scene and its last bake: what ktbake --stats writes. What has not\n"
    "happened yet is 0. The total time is the sum of the others.\n\n"
    "@rtype: dict\n@raise kthost.Error: No scene is open.";

inline const char onLog[] =
    "on_log(callback)\n\n"
    "Sets a function that is called with each line of the log, also when quiet: callback(level, line). level is\n"
    "\"error\", \"warning\" or \"info\". Lines of other threads come at the next call of this module, or while it\n"
    "bakes. Lines that the function logs are not passed to it. An exception in it is printed and ignored.\n\n"
    "@param callback: The new function; None removes the current one.\n@type callback: callable or None";

inline const char setQuiet[] =
    "set_quiet(quiet=True)\n\n"
    "Whether only errors go to standard error, and nothing of the calculation to standard output.\n\n"
    "@type quiet: bool";

inline const char presets[] = "presets()\n\nReturns the names of all presets.\n\n@rtype: list of str";

inline const char applyPreset[] =
    "apply_preset(name)\n\n"
    "Sets all settings from a preset, as one undo step. If several presets have the name, the first is applied and\n"
    "a warning is logged.\n\n"
    "@type name: str\n@raise kthost.Error: There is no preset of that name.";

inline const char savePreset[] =
    "save_preset(name, replace=True)\n\n"
    "Saves the current settings under a name, in place of all presets of that name. Keeps the presets that other\n"
    "processes have saved.\n\n"
    "@type name: str\n"
    "@param replace: False refuses a name that a preset has.\n@type replace: bool\n"
    "@raise kthost.Error: A preset has the name and replace is False, another process keeps the presets locked for\n"
    "    5 seconds, or the presets file cannot be written. The presets are then unchanged.";

inline const char deletePreset[] =
    "delete_preset(name)\n\n"
    "Deletes all presets of that name permanently. Keeps the presets that other processes have saved.\n\n"
    "@type name: str\n"
    "@raise kthost.Error: There is no preset of that name, another process keeps the presets locked for 5 seconds, or\n"
    "    the presets file cannot be written. The presets are then unchanged.";

inline const char setThreads[] =
    "set_threads(count)\n\nSets the number of threads for bakes and previews. Results do not depend on it.\n\n"
    "@param count: 1 to 1024, or 0 (the default) for one per core.\n@type count: int\n"
    "@raise kthost.Error: The number is out of range, or a bake is running.";

inline const char setFit[] =
    "set_fit(name)\n\nSets what bake() gives the vertices.\n\n"
    "@param name: \"surface\" (the default): the values whose interpolation is nearest to the light on the faces;\n"
    "    \"vertices\": the light at the vertices.\n@type name: str\n"
    "@raise kthost.Error: There is no such fit, or a bake is running.";

inline const char setMaxTriangles[] =
    "set_max_triangles(budget)\n\nLimits the triangles of the scene after refinement, each mesh counted once. "
    "Refinement\n"
    "then adds vertices where they pay most. It has no effect with the fit \"vertices\".\n\n"
    "@param budget: a number of triangles, a factor such as \"4x\", or None (the default): no limit.\n"
    "@type budget: int, str or None\n"
    "@raise kthost.Error: It is neither, or a bake is running.";

inline const char setTracer[] = "set_tracer(name)\n\nSets the ray tracer. Results are equal up to rounding.\n\n"
                                "@param name: \"hemisphere\" (the default) or \"embree\".\n@type name: str\n"
                                "@raise kthost.Error: There is no such tracer, or a bake is running.";

inline const char undo[] = "undo()\n\nUndoes the newest change of a setting.\n\n"
                           "@return: Whether there was one.\n@rtype: bool";

inline const char redo[] = "redo()\n\nRepeats the change that undo() undid last.\n\n"
                           "@return: Whether there was one.\n@rtype: bool";

inline const char onProgress[] =
    "on_progress(callback)\n\n"
    "Sets a function that is called while a bake runs: callback(share), at most 20 times a second. share is a float\n"
    "from 0.0 to 1.0 that never decreases; it is 1.0 once, when a bake has finished. An exception in the function\n"
    "ends the bake, and the call that baked raises it. During the calls the scene has no new results yet.\n\n"
    "@param callback: The new function; None removes the current one.\n@type callback: callable or None";

inline const char onCancel[] =
    "on_cancel(callback)\n\n"
    "Sets a function that is called without arguments when a bake is cancelled.\n\n"
    "@param callback: The new function; None removes the current one.\n@type callback: callable or None";

inline const char cancel[] =
    "cancel()\n\nCancels the running bake, never a later one. May be called from any thread, and in the callback of "
    "on_progress(). Does nothing if no bake runs.";

inline const char node[] =
    "A node of the scene. It does not keep the node alive: after the node has left the scene, its "
    "members raise kthost.Error.";

} // namespace ktHostModuleHelp
