// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Help texts of the module `kthost`.
namespace ktHostModuleHelp {

inline const char module[] =
    "What a script needs around a bake: scenes, nodes, presets, progress, results, undo.\n\n"
    "The module ktAmbientOcclusion calculates; this one opens, selects, looks and saves. World units are\n"
    "millimetres. Failures raise kthost.Error, arguments of a wrong type raise TypeError. Functions are called\n"
    "on the main thread, but for cancel().\n\n"
    "    import kthost, ktAmbientOcclusion\n"
    "    kthost.open(\"scene.glb\")\n"
    "    ktAmbientOcclusion.computeAmbientOcclusion(2, 1.0, 500.0, False, True, 2, 1, False, 80.0)\n"
    "    kthost.save(\"baked.glb\")\n";

inline const char error[] = "A call of kthost failed; the text names the file or the node and the reason.";

inline const char open[] =
    "open(path, unit=\"auto\", unique_instances=False, ground_plane=False)\n\n"
    "Opens a scene (glTF, OBJ, PLY, STL, FBX, Collada and more) in place of the one before, and selects its top\n"
    "nodes. Warnings go to the log.\n\n"
    "@param path: The file.\n@type path: str or os.PathLike\n"
    "@param unit: Length of one unit of the file: \"auto\", \"mm\", \"cm\", \"m\", \"inch\", \"foot\", or\n"
    "    millimetres as a number above 0.\n@type unit: str or float\n"
    "@param unique_instances: Gives each use of a mesh its own results.\n@type unique_instances: bool\n"
    "@param ground_plane: Puts a plane below the scene that catches its shadow, or takes the one that is there; it is\n"
    "    one of the top nodes.\n@type ground_plane: bool\n"
    "@raise kthost.Error: The file cannot be read or holds nothing to bake; the scene before stays open.";

inline const char close[] = "close()\n\nCloses the scene. Nothing happens without one.\n\n"
                            "@raise kthost.Error: A bake is under way.";

inline const char save[] =
    "save(path, shade=\"multiply\", exposure=1.0)\n\n"
    "Writes the scene with its results as .glb or .gltf. The file is replaced as a whole or not at all.\n\n"
    "@param path: The file.\n@type path: str or os.PathLike\n"
    "@param shade: \"multiply\" multiplies the light into the vertex colours, for viewers; \"none\" leaves them.\n"
    "@type shade: str\n"
    "@param exposure: Factor on that light, above 0.\n@type exposure: float\n"
    "@raise kthost.Error: No scene is open, or the file cannot be written.";

inline const char preview[] =
    "preview(path, width=1280, height=960, exposure=1.0, turn=0.0)\n\n"
    "Draws the baked scene into a PNG file.\n\n"
    "@param path: The file.\n@type path: str or os.PathLike\n"
    "@param width: Pixels, 1 to 16384.\n@type width: int\n"
    "@param height: Pixels, 1 to 16384.\n@type height: int\n"
    "@param exposure: Factor on the light, above 0.\n@type exposure: float\n"
    "@param turn: Degrees that the camera goes round the scene, counterclockwise as seen from above.\n"
    "@type turn: float\n"
    "@raise kthost.Error: No scene is open, a value is out of range, or the file cannot be written.";

inline const char nodes[] = "nodes()\n\nAll nodes of the scene, parents before their children.\n\n"
                            "@rtype: list of kthost.Node\n@raise kthost.Error: No scene is open.";

inline const char select[] =
    "select(nodes=None)\n\n"
    "Selects what is to be baked, in place of the selection before.\n\n"
    "@param nodes: A node or a list of nodes, each a kthost.Node, a name, or a path: names with \"/\" between\n"
    "    them, which may hold the wildcards *, ? and [...]. None selects the file's top nodes, a text all nodes\n"
    "    that it names.\n@type nodes: kthost.Node, str, list or None\n"
    "@return: The selected nodes, without those below another selected one.\n@rtype: list of kthost.Node\n"
    "@raise kthost.Error: No scene is open, or a name fits no node; the selection then stays as it was.";

inline const char selection[] = "selection()\n\nThe selected nodes, without those below another selected one.\n\n"
                                "@rtype: list of kthost.Node";

inline const char results[] =
    "results(node)\n\n"
    "The results of a geometry as read-only memoryviews, which NumPy takes without a copy:\n"
    "numpy.asarray(results(node)[\"ao\"]). They show the moment of the call, and stay good when the scene changes\n"
    "or is closed. One row a vertex, float32, unless told otherwise:\n\n"
    "    positions  x, y, z in object space\n"
    "    triangles  three vertex numbers; one row a triangle, uint32\n"
    "    ao         direct result: 1 in the open, 0 fully occluded\n"
    "    indirect   red, green, blue of the bounced light, linear\n"
    "    light      red, green, blue of all light that arrives, linear\n\n"
    "@param node: A kthost.Node, a name or a path; the first node that a text names counts.\n"
    "@type node: kthost.Node or str\n@rtype: dict of str to memoryview\n"
    "@raise kthost.Error: There is no such node, it holds no geometry, or it has no results.";

inline const char bake[] =
    "bake(missing=False)\n\n"
    "Bakes the selection with the settings as they are: those of apply_preset() or of the last calculation.\n\n"
    "@param missing: Bakes only what has no results yet.\n@type missing: bool\n"
    "@return: Whether the bake ran to its end; False when it was cancelled.\n@rtype: bool\n"
    "@raise kthost.Error: Nothing is selected, all of it is locked, or the bake failed.";

inline const char settings[] = "settings()\n\nThe settings in effect, by the keywords of computeAmbientOcclusion, and "
                               "\"mode\". Distances in millimetres.\n\n@rtype: dict";

inline const char presets[] = "presets()\n\nNames of all presets.\n\n@rtype: list of str";

inline const char applyPreset[] = "apply_preset(name)\n\nTakes all settings from a preset, as one undo step.\n\n"
                                  "@type name: str\n@raise kthost.Error: There is no preset of that name.";

inline const char savePreset[] = "save_preset(name)\n\nKeeps the settings in effect under a name.\n\n"
                                 "@type name: str\n@raise kthost.Error: The presets' file cannot be written.";

inline const char deletePreset[] =
    "delete_preset(name)\n\nRemoves a preset for good.\n\n@type name: str\n"
    "@raise kthost.Error: There is no preset of that name, or the presets' file cannot be written.";

inline const char setThreads[] =
    "set_threads(count)\n\nHow many threads bakes and previews use from now on. Results are the same on any number.\n\n"
    "@param count: 1 to 1024, or 0 for one a core, as it is at the start.\n@type count: int\n"
    "@raise kthost.Error: The number is out of range, or a bake is under way.";

inline const char setTracer[] =
    "set_tracer(name)\n\nWhat follows the rays from now on; the results are the same, to rounding.\n\n"
    "@param name: \"hemisphere\", as it is at the start, or \"embree\".\n@type name: str\n"
    "@raise kthost.Error: There is no such tracer, or a bake is under way.";

inline const char undo[] = "undo()\n\nTakes back the newest change of a setting.\n\n"
                           "@return: Whether there was one.\n@rtype: bool";

inline const char redo[] = "redo()\n\nMakes the change again that undo() took back last.\n\n"
                           "@return: Whether there was one.\n@rtype: bool";

inline const char onProgress[] =
    "on_progress(callback)\n\n"
    "Has a function called while a bake runs: callback(share), with a float from 0.0 to 1.0 that never falls; at\n"
    "most 20 times a second, and once with 1.0 when a bake has run to its end. What it raises ends the bake and\n"
    "comes out of the call that baked. Results are not in the scene yet.\n\n"
    "@param callback: The function, in place of the one before; None for none.\n@type callback: callable or None";

inline const char onCancel[] =
    "on_cancel(callback)\n\n"
    "Has a function called without arguments when a bake is cancelled.\n\n"
    "@param callback: The function, in place of the one before; None for none.\n@type callback: callable or None";

inline const char cancel[] = "cancel()\n\nEnds the bake under way soon. From any thread, or from a callback of "
                             "on_progress(). Nothing happens without a bake.";

inline const char node[] = "A node of the scene. Keeps nothing alive: its members raise kthost.Error once the node has "
                           "left the scene.";

} // namespace ktHostModuleHelp
