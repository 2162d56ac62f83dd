// SPDX-License-Identifier: LGPL-2.1-or-later
// Converts between Python strings and UTF-8 text, for Python 2 and 3.
#include "ktHostModuleText.h"

#include "ktPythonObject.h"

namespace python = boost::python;

bool ktIsPythonString(const python::object& object) {
#if PY_MAJOR_VERSION < 3
    if (PyString_Check(object.ptr()))
        return true;
#endif
    return PyUnicode_Check(object.ptr());
}

std::string ktTextArgument(const python::object& object, const char* what) {
    python::object text = object;
#if PY_MAJOR_VERSION >= 3
    if (!PyUnicode_Check(text.ptr())) {
        // handle<> throws if the method fails, with its error set.
        if (PyObject_HasAttrString(text.ptr(), "__fspath__"))
            text = python::object(python::handle<>(PyOS_FSPath(text.ptr())));
    }
#else
    if (PyString_Check(text.ptr()))
        return std::string(PyString_AsString(text.ptr()), static_cast<std::size_t>(PyString_Size(text.ptr())));
#endif
    if (!PyUnicode_Check(text.ptr())) {
        PyErr_Format(PyExc_TypeError, "%s must be a string, not %s", what, Py_TYPE(object.ptr())->tp_name);
        python::throw_error_already_set();
    }
    // Python 3 gives file names that are not UTF-8 as lone surrogates. They are converted back to their bytes.
#if PY_MAJOR_VERSION >= 3
    const python::handle<> bytes(PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
#else
    const python::handle<> bytes(PyUnicode_AsUTF8String(text.ptr()));
#endif
    return std::string(PyBytes_AsString(bytes.get()), static_cast<std::size_t>(PyBytes_Size(bytes.get())));
}

python::object ktTextResult(const std::string& text) {
    return python::object(python::handle<>(ktPythonText(text)));
}
