// SPDX-License-Identifier: LGPL-2.1-or-later
// The scripting module "ktAmbientOcclusion", for Python 2.7 and for Python 3.
// Python's headers come before Qt: they use the name "slots", which Qt defines as a keyword.
#include <boost/python.hpp>

#include "ktAmbientOcclusionPython.h"

#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionPythonHelp.h"
#include "ktPythonInit.h"
#include "ktScript.h"

#include <cmath>
#include <iostream>
#include <iterator>
#include <QCoreApplication>
#include <QThread>
#include <string>

namespace python = boost::python;

namespace {

/// Plain functions of the interpreter that call those of Boost.Python. Boost.Python puts a line feed before every help
/// text; these functions have exactly the given text.
class ExactHelp {
public:
    /// Replaces the module's function of that name by one that calls it. The text must live as long as the process.
    static void add(python::object& module, const char* name, const std::string& text) {
        // One entry for each function of the module.
        static constexpr PyCFunctionWithKeywords calls[] = {call<0>, call<1>, call<2>, call<3>};
        static PyMethodDef definitions[std::size(calls)];
        if (count == std::size(calls))
            return;
        const python::object target = module.attr(name);
        targets[count] = python::incref(target.ptr());
        definitions[count] = {name, reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(calls[count])),
                              METH_VARARGS | METH_KEYWORDS, text.c_str()};
        const python::object moduleName = module.attr("__name__");
        module.attr(name) =
            python::object(python::handle<>(PyCFunction_NewEx(&definitions[count], module.ptr(), moduleName.ptr())));
        ++count;
    }

private:
    template <int which>
    static PyObject* call(PyObject*, PyObject* arguments, PyObject* keywords) {
        const QCoreApplication* const application = QCoreApplication::instance();
        if (application && application->thread() != QThread::currentThread()) {
            PyErr_SetString(PyExc_RuntimeError, "ktAmbientOcclusion is for the main thread");
            return nullptr;
        }
        const python::handle<> plain(python::allow_null(plainArguments(arguments)));
        const python::handle<> plainByName(python::allow_null(plain ? plainKeywords(keywords) : nullptr));
        return plainByName ? PyObject_Call(targets[which], plain.get(), plainByName.get()) : nullptr;
    }

    // All arguments are numbers, also those by keyword. Scalars of NumPy count as numbers. NaN would become a setting
    // that equals none, not even itself.
    static PyObject* plainArguments(PyObject* arguments) {
        const Py_ssize_t size = PyTuple_GET_SIZE(arguments);
        python::handle<> plain(python::allow_null(PyTuple_New(size)));
        for (Py_ssize_t i = 0; plain && i < size; ++i) {
            PyObject* const value = plainNumber(PyTuple_GET_ITEM(arguments, i), std::to_string(i + 1));
            if (!value)
                return nullptr;
            PyTuple_SET_ITEM(plain.get(), i, value); // takes over the reference
        }
        return plain.release();
    }

    static PyObject* plainKeywords(PyObject* keywords) {
        python::handle<> plain(python::allow_null(PyDict_New()));
        PyObject *key = nullptr, *value = nullptr; // borrowed
        Py_ssize_t position = 0;
        while (plain && keywords && PyDict_Next(keywords, &position, &key, &value)) {
            const python::handle<> name(python::allow_null(PyObject_Str(key)));
            const char* const text = name ? python::extract<const char*>(name.get())() : nullptr;
            const python::handle<> number(python::allow_null(text ? plainNumber(value, text) : nullptr));
            if (!number || PyDict_SetItem(plain.get(), key, number.get()) != 0)
                return nullptr;
        }
        return plain.release();
    }

    /// A new reference to a number of the interpreter; null, with an error set, if there is none.
    static PyObject* plainNumber(PyObject* value, const std::string& argument) {
        PyObject* number = value;
        const char* const type = Py_TYPE(value)->tp_name;
        if (type == std::string("numpy.bool_") || type == std::string("numpy.bool")) {
            const int isTrue = PyObject_IsTrue(value);
            return isTrue < 0 ? nullptr : PyBool_FromLong(isTrue);
        }
        const bool isForeign = !PyFloat_Check(value) && !PyLong_Check(value) && !PySequence_Check(value);
        if (isForeign && PyObject_HasAttrString(value, "__index__"))
            number = PyNumber_Index(value);
        else if (isForeign && PyObject_HasAttrString(value, "__float__"))
            number = PyNumber_Float(value);
        else
            Py_INCREF(value);
        if (number && PyFloat_Check(number) && std::isnan(PyFloat_AS_DOUBLE(number))) {
            Py_DECREF(number);
            PyErr_Format(PyExc_ValueError, "argument %s is NaN", argument.c_str());
            return nullptr;
        }
        return number;
    }

    static PyObject* targets[4]; // owned until the process ends; the module exists once
    static std::size_t count;
};

PyObject* ExactHelp::targets[4];
std::size_t ExactHelp::count = 0;

/// Checks the interpreter's minor version, because its structures differ between minor versions.
void checkInterpreter() {
    PyObject* const number = PySys_GetObject(const_cast<char*>("hexversion")); // borrowed
    const long running = number ? PyLong_AsLong(number) : 0;
    if (running >> 16 == PY_VERSION_HEX >> 16)
        return;
    PyErr_Format(PyExc_ImportError,
                 "this ktAmbientOcclusion is for Python %d.%d, not for Python %d.%d; build it for the interpreter that "
                 "imports it",
                 PY_MAJOR_VERSION, PY_MINOR_VERSION, static_cast<int>(running >> 24 & 255),
                 static_cast<int>(running >> 16 & 255));
    python::throw_error_already_set();
}

} // namespace

BOOST_PYTHON_FUNCTION_OVERLOADS(computeOverloads, ktAmbientOcclusion::computeAmbientOcclusion, 9, 15)
BOOST_PYTHON_FUNCTION_OVERLOADS(computeMissingOverloads, ktAmbientOcclusion::computeMissingAmbientOcclusion, 10, 15)

#if PY_MAJOR_VERSION >= 3
#define PyInit_ktAmbientOcclusion PyInit_ktAmbientOcclusionOfBoost // see below
PyMODINIT_FUNC PyInit_ktAmbientOcclusion();
#endif

// Defines init_module_ktAmbientOcclusion() and the interpreter's entry point: initktAmbientOcclusion() for Python 2.
// For Python 3 it is called by the one below.
BOOST_PYTHON_MODULE(ktAmbientOcclusion) {
    using python::arg;
    checkInterpreter();
    static const auto& help = *new ktAmbientOcclusionPythonHelp; // for the rest of the process
    // The help is exactly the given text, without generated signatures. The options are restored at the end of the
    // scope.
    const python::docstring_options helpOptions(true, false, false);

    python::def("computeAmbientOcclusion", &ktAmbientOcclusion::computeAmbientOcclusion,
                computeOverloads((arg("quality"), arg("minDistance"), arg("maxDistance"), arg("indirectIllumination"),
                                  arg("colorBleeding"), arg("gatherQuality"), arg("numIndirections"), arg("subdivide"),
                                  arg("minEdgeLength"), arg("overrideMaterialColor"), arg("materialColorR"),
                                  arg("materialColorG"), arg("materialColorB"), arg("subdivisionQuality"),
                                  arg("intensityThreshold")),
                                 help.computeAmbientOcclusion.c_str()));
    python::def("computeMissingAmbientOcclusion", &ktAmbientOcclusion::computeMissingAmbientOcclusion,
                computeMissingOverloads((arg("quality"), arg("minDistance"), arg("maxDistance"),
                                         arg("indirectIllumination"), arg("colorBleeding"), arg("gatherQuality"),
                                         arg("numIndirections"), arg("subdivide"), arg("minEdgeLength"),
                                         arg("intensityThreshold"), arg("overrideMaterialColor"), arg("materialColorR"),
                                         arg("materialColorG"), arg("materialColorB"), arg("subdivisionQuality")),
                                        help.computeMissingAmbientOcclusion.c_str()));
    python::def("setAmbientOcclusionMode", &ktAmbientOcclusion::pySetAmbientOcclusionMode, arg("mode"),
                help.setAmbientOcclusionMode.c_str());
    python::def("getAmbientOcclusionMode", &ktAmbientOcclusion::pyGetAmbientOcclusionMode,
                help.getAmbientOcclusionMode.c_str());

    python::scope module;
    ExactHelp::add(module, "computeAmbientOcclusion", help.computeAmbientOcclusion);
    ExactHelp::add(module, "computeMissingAmbientOcclusion", help.computeMissingAmbientOcclusion);
    ExactHelp::add(module, "setAmbientOcclusionMode", help.setAmbientOcclusionMode);
    ExactHelp::add(module, "getAmbientOcclusionMode", help.getAmbientOcclusionMode);
    module.attr("KT_AO_MODE_CLASSIC") = static_cast<int>(ktAmbientOcclusion::Classic);
    module.attr("KT_AO_MODE_SHADOWS") = static_cast<int>(ktAmbientOcclusion::Shadows);
    module.attr("KT_AO_MODE_LIGHT_AND_SHADOWS") = static_cast<int>(ktAmbientOcclusion::LightAndShadows);
}

#if PY_MAJOR_VERSION >= 3
#undef PyInit_ktAmbientOcclusion

// Boost.Python also returns the module when an error is set. The interpreter would turn that into a SystemError.
PyMODINIT_FUNC PyInit_ktAmbientOcclusion();
PyMODINIT_FUNC PyInit_ktAmbientOcclusion() {
    PyObject* const module = PyInit_ktAmbientOcclusionOfBoost();
    if (!PyErr_Occurred())
        return module;
    Py_XDECREF(module);
    return nullptr;
}
#endif

namespace {

/// Creates the module and makes it known to the interpreter under its name.
void createModule() {
#if PY_MAJOR_VERSION < 3
    initktAmbientOcclusion();
#else
    // In Python 3 the entry point only returns the module.
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
    // On every start, because the namespace may have been emptied.
    ktScript::run("import ktAmbientOcclusion");
    ktScript::run("from ktAmbientOcclusion import *");
}

} // namespace

static ktPythonInit startWithPython(&pythonInit);
