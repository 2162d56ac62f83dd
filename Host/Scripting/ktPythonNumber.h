// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPythonObject.h"

#include <cstring>

/// Converts a number of any type, such as a scalar of NumPy, to a number of the interpreter: by __index__, else by
/// __float__. Other objects stay as they are.
/// @return new reference; null, with an error set, if a conversion fails
inline PyObject* ktPlainNumber(PyObject* value) {
    const bool isPlain = value == Py_None || PyFloat_Check(value) || PyLong_Check(value) ||
#if PY_MAJOR_VERSION < 3
                         PyInt_Check(value) ||
#endif
                         PyUnicode_Check(value) || PyBytes_Check(value) || PySequence_Check(value) ||
                         PyCallable_Check(value);
    if (!isPlain) {
        // NumPy's truth values are no numbers to the interpreter.
        const char* const type = Py_TYPE(value)->tp_name;
        if (std::strcmp(type, "numpy.bool_") == 0 || std::strcmp(type, "numpy.bool") == 0) {
            const int isTrue = PyObject_IsTrue(value);
            return isTrue < 0 ? nullptr : PyBool_FromLong(isTrue);
        }
        if (PyObject_HasAttrString(value, "__index__"))
            return PyNumber_Index(value);
        if (PyObject_HasAttrString(value, "__float__"))
            return PyNumber_Float(value);
    }
    Py_INCREF(value);
    return value;
}
