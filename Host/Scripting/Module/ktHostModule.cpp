// SPDX-License-Identifier: LGPL-2.1-or-later
// The scripting module "kthost", for Python 2.7 and Python 3.
// Python before Qt: the interpreter's headers use the name "slots", which is a macro of Qt.
#include <boost/python.hpp>

#include "ktFitMode.h"
#include "ktHostModuleBuffer.h"
#include "ktHostModuleError.h"
#include "ktHostModuleFunctions.h"
#include "ktHostModuleGuard.h"
#include "ktHostModuleHelp.h"
#include "ktHostModuleLog.h"
#include "ktHostModuleNodes.h"
#include "ktHostModuleRun.h"
#include "ktHostModuleScene.h"
#include "ktHostModuleSettings.h"
#include "ktHostModuleWatch.h"
#include "ktScriptedPlugin.h"
#include "ktScripting.h"

#include <clocale>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGNode.h>
#include <QCoreApplication>
#include <QThread>
#include <string>
#include <unistd.h>

namespace python = boost::python;

namespace {

PyObject* errorType = nullptr; // kthost.Error; lives as long as the process

void translateError(const ktHostModuleError& error) {
    PyErr_SetString(errorType, error.what());
}

void failImport(const std::string& reason) {
    PyErr_SetString(PyExc_ImportError, reason.c_str());
    python::throw_error_already_set();
}

/// The interpreter's structures differ from one minor version to the next.
void checkInterpreter() {
    PyObject* const number = PySys_GetObject(const_cast<char*>("hexversion")); // borrowed
    const long running = number ? PyLong_AsLong(number) : 0;
    if (running >> 16 != PY_VERSION_HEX >> 16)
        failImport("this kthost is for Python " + std::to_string(PY_MAJOR_VERSION) + "." +
                   std::to_string(PY_MINOR_VERSION) + ", not for Python " + std::to_string(running >> 24 & 255) + "." +
                   std::to_string(running >> 16 & 255) + "; build it for the interpreter that imports it");
}

/// Does what an application of the host does, if a plain interpreter imports the module.
void becomeApplication() {
    const QCoreApplication* const application = QCoreApplication::instance();
    if (application ? application->thread() != QThread::currentThread() : gettid() != getpid())
        failImport("import kthost on the main thread");
    if (!application) {
        static int argc = 1;
        static char name[] = "kthost";
        static char* argv[] = {name, nullptr};
        // Without GLib, which ends the process if memory runs out while it handles events.
        const bool isChosen = qEnvironmentVariableIsSet("QT_NO_GLIB");
        if (!isChosen)
            qputenv("QT_NO_GLIB", "1");
        [[maybe_unused]] static const auto* const kept = new QCoreApplication(argc, argv); // until the process ends
        if (!isChosen)
            qunsetenv("QT_NO_GLIB");
        // Undo Qt's change: messages and files need a decimal point. NOLINTNEXTLINE(concurrency-mt-unsafe)
        std::setlocale(LC_NUMERIC, "C");
    }
    // A real OpenSG must be started once, before the first container.
    if (osg::Node::getClassType().getPrototype() == osg::NullFC)
        osg::osgInit(0, nullptr);
    ktSuggestFitMode(ktFitMode::Surface);
    if (!ktScripting::isRunning())
        ktScripting::attach();
}

} // namespace

#if PY_MAJOR_VERSION >= 3
#define PyInit_kthost PyInit_kthostOfBoost // see below
PyMODINIT_FUNC PyInit_kthost();
#endif

// Defines the interpreter's entry point: initkthost() for Python 2. For Python 3 it is called by the one below.
BOOST_PYTHON_MODULE(kthost) {
    using ktHostModuleGuard::OnMainThread;
    using python::arg;
    checkInterpreter();
    namespace help = ktHostModuleHelp;
    const python::docstring_options helpOptions(true, false, false);
    becomeApplication();

    python::scope module;
    module.attr("__doc__") = help::module;
    module.attr("__version__") = ktScriptedPlugin::the().getVersion();
    errorType = PyErr_NewExceptionWithDoc(const_cast<char*>("kthost.Error"), const_cast<char*>(help::error),
                                          PyExc_RuntimeError, nullptr);
    module.attr("Error") = python::object(python::handle<>(python::borrowed(errorType)));
    python::register_exception_translator<ktHostModuleError>(&translateError);
    ktInitBufferType();

    python::class_<ktHostModuleNode>("Node", help::node, python::no_init)
        .add_property("name", &ktHostModuleNode::getName,
                      "Name in the file; empty for a node without one. Geometry has the name of its node in the file.")
        .add_property(
            "path", &ktHostModuleNode::getPath,
            "Path from the top of the scene, as select() takes it; empty for geometry, and for a node without\n"
            "a name.")
        .add_property("kind", &ktHostModuleNode::getKind, "Kind of the node's core, such as \"Geometry\".")
        .add_property("vertices", &ktHostModuleNode::getVertexCount, "Vertices of the node's own geometry.")
        .add_property("parent", &ktHostModuleNode::getParent, "Node above this one; None for the top of the scene.")
        .add_property("children", &ktHostModuleNode::getChildren, "List of the nodes directly below this one.")
        .add_property(
            "geometry", &ktHostModuleNode::getGeometry,
            "List of the nodes that hold this node's geometry, one per primitive in a glTF file. results() takes\n"
            "each of them. A node of kind \"Geometry\" lists itself.")
        .add_property("matrix", &ktHostModuleNode::getMatrix,
                      "Four rows of four floats that take positions (as columns) from this node to its parent.")
        .add_property("world_matrix", &ktHostModuleNode::getWorldMatrix,
                      "The same from this node to the world, in millimetres.")
        .add_property("locked", &ktHostModuleNode::isLocked,
                      "Whether the node, or one above it, is locked against bakes.")
        .def("__eq__", &ktHostModuleNode::operator==)
        .def("__ne__", &ktHostModuleNode::operator!=)
        .def("__hash__", &ktHostModuleNode::hash)
        .def("__repr__", &ktHostModuleNode::describe);

    python::def("open", &OnMainThread<&ktHostModuleScene::open>::call,
                (arg("path"), arg("unit") = "auto", arg("unique_instances") = false, arg("ground_plane") = false,
                 arg("up") = "auto", arg("crease_angle") = 30.0, arg("keep_vertices") = false),
                help::open);
    python::def("close", &OnMainThread<&ktHostModuleScene::close>::call, help::close);
    python::def("save", &OnMainThread<&ktHostModuleScene::save>::call,
                (arg("path"), arg("shade") = "multiply", arg("exposure") = 1.0, arg("strength") = 1.0,
                 arg("compress") = "as-input"),
                help::save);
    python::def("preview", &OnMainThread<&ktHostModuleScene::preview>::call,
                (arg("path"), arg("width") = 1280, arg("height") = 960, arg("exposure") = 1.0, arg("turn") = 0.0,
                 arg("view") = "three-quarter", arg("headlight") = false, arg("progress") = python::object()),
                help::preview);

    python::def("nodes", &OnMainThread<&ktHostModuleNodes::nodes>::call, help::nodes);
    python::def("find", &OnMainThread<&ktHostModuleNodes::find>::call, arg("name"), help::find);
    python::def("select", &OnMainThread<&ktHostModuleNodes::select>::call, arg("nodes") = python::object(),
                help::select);
    python::def("selection", &OnMainThread<&ktHostModuleNodes::selection>::call, help::selection);
    python::def("results", &OnMainThread<&ktHostModuleNodes::results>::call, arg("node"), help::results);

    python::def("bake", &OnMainThread<&ktHostModuleRun::bake>::call, (arg("missing") = false, arg("keep") = "finished"),
                help::bake);
    ktAddSettings(module);
    python::def("stats", &OnMainThread<&ktHostModuleRun::stats>::call, help::stats);
    python::def("presets", &OnMainThread<&ktHostModuleRun::presets>::call, help::presets);
    python::def("apply_preset", &OnMainThread<&ktHostModuleRun::applyPreset>::call, arg("name"), help::applyPreset);
    python::def("save_preset", &OnMainThread<&ktHostModuleRun::savePreset>::call, (arg("name"), arg("replace") = true),
                help::savePreset);
    python::def("delete_preset", &OnMainThread<&ktHostModuleRun::deletePreset>::call, arg("name"), help::deletePreset);
    python::def("set_threads", &OnMainThread<&ktHostModuleRun::setThreads>::call, arg("count"), help::setThreads);
    python::def("set_fit", &OnMainThread<&ktHostModuleRun::setFit>::call, arg("name"), help::setFit);
    python::def("set_max_triangles", &OnMainThread<&ktHostModuleRun::setMaxTriangles>::call, arg("budget"),
                help::setMaxTriangles);
    python::def("set_tracer", &OnMainThread<&ktHostModuleRun::setTracer>::call, arg("name"), help::setTracer);
    python::def("undo", &OnMainThread<&ktHostModuleRun::undo>::call, help::undo);
    python::def("redo", &OnMainThread<&ktHostModuleRun::redo>::call, help::redo);

    ktHostModuleWatch::start();
    python::def("on_progress", &OnMainThread<&ktHostModuleWatch::onProgress>::call, arg("callback"), help::onProgress);
    python::def("on_cancel", &OnMainThread<&ktHostModuleWatch::onCancel>::call, arg("callback"), help::onCancel);
    python::def("on_log", &OnMainThread<&ktHostModuleLog::onLog>::call, arg("callback"), help::onLog);
    python::def("set_quiet", &OnMainThread<&ktHostModuleLog::setQuiet>::call, arg("quiet") = true, help::setQuiet);
    python::def("cancel", &ktHostModuleWatch::cancel, help::cancel);
    ktFinishFunctions(module);
}

#if PY_MAJOR_VERSION >= 3
#undef PyInit_kthost

// Boost.Python returns the module also when an error is set, of which the interpreter makes a SystemError.
PyMODINIT_FUNC PyInit_kthost();
PyMODINIT_FUNC PyInit_kthost() {
    PyObject* const module = PyInit_kthostOfBoost();
    if (!PyErr_Occurred())
        return module;
    Py_XDECREF(module);
    return nullptr;
}
#endif
