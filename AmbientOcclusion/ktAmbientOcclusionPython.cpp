// SPDX-License-Identifier: LGPL-2.1-or-later
// The scripting module "ktAmbientOcclusion", for Python 2.7 and for Python 3.
// Before Qt, whose keyword "slots" the interpreter's headers use as a name.
#include <boost/python.hpp>

#include "ktAmbientOcclusionPython.h"

#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionPythonHelp.h"
#include "ktPythonInit.h"
#include "ktScript.h"

#include <iostream>

namespace python = boost::python;

BOOST_PYTHON_FUNCTION_OVERLOADS(computeOverloads, ktAmbientOcclusion::computeAmbientOcclusion, 9, 15)
BOOST_PYTHON_FUNCTION_OVERLOADS(computeMissingOverloads, ktAmbientOcclusion::computeMissingAmbientOcclusion, 10, 15)

// Defines init_module_ktAmbientOcclusion() and the interpreter's entry point: initktAmbientOcclusion() for Python 2,
// PyInit_ktAmbientOcclusion() for Python 3.
BOOST_PYTHON_MODULE(ktAmbientOcclusion) {
    using python::arg;
    const ktAmbientOcclusionPythonHelp help;
    // Help is exactly the text given: no generated signatures. The former options come back at the end of the scope.
    const python::docstring_options helpOptions(true, false, false);

    python::def("computeAmbientOcclusion", &ktAmbientOcclusion::computeAmbientOcclusion,
                computeOverloads((arg("quality"), arg("minDistance"), arg("maxDistance"), arg("indirectIllumination"),
                                  arg("colorBleeding"), arg("gatherQuality"), arg("numIndirections"), arg("subdivide"),
                                  arg("minEdgeLength"), arg("overrideMaterialColor"), arg("materialColorR"),
                                  arg("materialColorG"), arg("materialColorB"), arg("subdivisionQuality"),
                                  arg("intensityThreshold")),
                                 help.computeAmbientOcclusion.c_str()));
    python::def("computeMissingAmbientOcclusion", &ktAmbientOcclusion::computeMissingAmbientOcclusion,
                computeMissingOverloads(
                    (arg("quality"), arg("minDistance"), arg("maxDistance"), arg("indirectIllumination"),
                     arg("colorBleeding"), arg("gatherQuality"), arg("numIndirections"), arg("subdivide"),
                     arg("minEdgeLength"), arg("intensityThreshold"), arg("overrideMaterialColor"),
                     arg("materialColorR"), arg("materialColorG"), arg("materialColorB"), arg("subdivisionQuality")),
                    help.computeMissingAmbientOcclusion.c_str()));
    python::def("setAmbientOcclusionMode", &ktAmbientOcclusion::pySetAmbientOcclusionMode, arg("mode"),
                help.setAmbientOcclusionMode.c_str());
    python::def("getAmbientOcclusionMode", &ktAmbientOcclusion::pyGetAmbientOcclusionMode,
                help.getAmbientOcclusionMode.c_str());

    python::scope module;
    module.attr("KT_AO_MODE_CLASSIC") = static_cast<int>(ktAmbientOcclusion::Classic);
    module.attr("KT_AO_MODE_SHADOWS") = static_cast<int>(ktAmbientOcclusion::Shadows);
    module.attr("KT_AO_MODE_LIGHT_AND_SHADOWS") = static_cast<int>(ktAmbientOcclusion::LightAndShadows);
}

namespace {

/// Creates the module and makes it known to the interpreter under its name.
void createModule() {
#if PY_MAJOR_VERSION < 3
    initktAmbientOcclusion();
#else
    // Here the entry point only returns the module, as the import machinery wants it.
    PyObject* const module = PyInit_ktAmbientOcclusion();
    if (!module || PyDict_SetItemString(PyImport_GetModuleDict(), "ktAmbientOcclusion", module) != 0)
        PyErr_Print();
    Py_XDECREF(module);
#endif
}

/// The host's scripting starts (false; possibly more than once) or is torn down (true).
void pythonInit(bool destroy) {
    if (destroy) {
        std::cout << "pythonInit: destroy ktAmbientOcclusion!" << std::endl;
        return;
    }
    static bool once = false;
    if (!once) {
        createModule();
        once = true;
    }
    // On every start, so that a namespace that was emptied gets the names again.
    ktScript::run("import ktAmbientOcclusion");
    ktScript::run("from ktAmbientOcclusion import *");
}

} // namespace

static ktPythonInit _pythonInit(&pythonInit);
