// SPDX-License-Identifier: LGPL-2.1-or-later
// The scripting module "kthost", for Python 2.7 and Python 3.
// Python before Qt: the interpreter's headers use the name "slots", which is a macro of Qt.
#include <boost/python.hpp>

#include "ktHostModuleBuffer.h"
#include "ktHostModuleError.h"
#include "ktHostModuleHelp.h"
#include "ktHostModuleNodes.h"
#include "ktHostModuleRun.h"
#include "ktHostModuleScene.h"
#include "ktHostModuleWatch.h"
#include "ktScripting.h"

#include <clocale>
#include <QCoreApplication>

namespace python = boost::python;

namespace {

PyObject* errorType = nullptr; // kthost.Error; lives as long as the process

void translateError(const ktHostModuleError& error) {
    PyErr_SetString(errorType, error.what());
}

/// Does what an application of the host does, if a plain interpreter imports the module.
void becomeApplication() {
    if (!QCoreApplication::instance()) {
        static int argc = 1;
        static char name[] = "kthost";
        static char* argv[] = {name, nullptr};
        new QCoreApplication(argc, argv); // for the rest of the process
        // Undo Qt's change: messages and files need a decimal point. NOLINTNEXTLINE(concurrency-mt-unsafe)
        std::setlocale(LC_NUMERIC, "C");
    }
    if (!ktScripting::isRunning())
        ktScripting::attach();
}

} // namespace

// Defines the interpreter's entry point: initkthost() for Python 2, PyInit_kthost() for Python 3.
BOOST_PYTHON_MODULE(kthost) {
    using python::arg;
    namespace help = ktHostModuleHelp;
    const python::docstring_options helpOptions(true, false, false);
    becomeApplication();

    python::scope module;
    module.attr("__doc__") = help::module;
    errorType = PyErr_NewExceptionWithDoc(const_cast<char*>("kthost.Error"), const_cast<char*>(help::error),
                                          PyExc_RuntimeError, nullptr);
    module.attr("Error") = python::object(python::handle<>(python::borrowed(errorType)));
    python::register_exception_translator<ktHostModuleError>(&translateError);
    ktInitBufferType();

    python::class_<ktHostModuleNode>("Node", help::node, python::no_init)
        .add_property("name", &ktHostModuleNode::getName, "Name; empty for a node without one.")
        .add_property("path", &ktHostModuleNode::getPath,
                      "Path from the top of the scene, as select() takes it; empty for a node without a name.")
        .add_property("kind", &ktHostModuleNode::getKind, "Kind of the node's core, such as \"Geometry\".")
        .add_property("vertices", &ktHostModuleNode::getVertexCount, "Vertices of the node's own geometry.")
        .add_property("locked", &ktHostModuleNode::isLocked,
                      "Whether the node, or one above it, is locked against bakes.")
        .def("__eq__", &ktHostModuleNode::operator==)
        .def("__ne__", &ktHostModuleNode::operator!=)
        .def("__hash__", &ktHostModuleNode::hash)
        .def("__repr__", &ktHostModuleNode::describe);

    python::def("open", &ktHostModuleScene::open,
                (arg("path"), arg("unit") = "auto", arg("unique_instances") = false, arg("ground_plane") = false),
                help::open);
    python::def("close", &ktHostModuleScene::close, help::close);
    python::def("save", &ktHostModuleScene::save, (arg("path"), arg("shade") = "multiply", arg("exposure") = 1.0),
                help::save);
    python::def("preview", &ktHostModuleScene::preview,
                (arg("path"), arg("width") = 1280, arg("height") = 960, arg("exposure") = 1.0, arg("turn") = 0.0),
                help::preview);

    python::def("nodes", &ktHostModuleNodes::nodes, help::nodes);
    python::def("select", &ktHostModuleNodes::select, arg("nodes") = python::object(), help::select);
    python::def("selection", &ktHostModuleNodes::selection, help::selection);
    python::def("results", &ktHostModuleNodes::results, arg("node"), help::results);

    python::def("bake", &ktHostModuleRun::bake, arg("missing") = false, help::bake);
    python::def("settings", &ktHostModuleRun::settings, help::settings);
    python::def("presets", &ktHostModuleRun::presets, help::presets);
    python::def("apply_preset", &ktHostModuleRun::applyPreset, arg("name"), help::applyPreset);
    python::def("save_preset", &ktHostModuleRun::savePreset, arg("name"), help::savePreset);
    python::def("delete_preset", &ktHostModuleRun::deletePreset, arg("name"), help::deletePreset);
    python::def("set_threads", &ktHostModuleRun::setThreads, arg("count"), help::setThreads);
    python::def("set_tracer", &ktHostModuleRun::setTracer, arg("name"), help::setTracer);
    python::def("undo", &ktHostModuleRun::undo, help::undo);
    python::def("redo", &ktHostModuleRun::redo, help::redo);

    ktHostModuleWatch::start();
    python::def("on_progress", &ktHostModuleWatch::onProgress, arg("callback"), help::onProgress);
    python::def("on_cancel", &ktHostModuleWatch::onCancel, arg("callback"), help::onCancel);
    python::def("cancel", &ktHostModuleWatch::cancel, help::cancel);
}
