// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <Python.h>

#include <string>
#include <utility>

/// Owns one reference to an object of the interpreter; may be null. The caller must hold the interpreter's lock.
class ktPythonObject {
public:
    ktPythonObject() = default;
    /// Takes over the reference.
    explicit ktPythonObject(PyObject* object_) : object(object_) {}
    ktPythonObject(ktPythonObject&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    ktPythonObject& operator=(ktPythonObject&& other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~ktPythonObject() { Py_XDECREF(object); }

    PyObject* get() const { return object; }
    explicit operator bool() const { return object != nullptr; }

private:
    PyObject* object = nullptr;
};

/// Holds the interpreter's lock during its lifetime. May be nested.
class ktPythonLock {
public:
    ktPythonLock() : state(PyGILState_Ensure()) {}
    ~ktPythonLock() { PyGILState_Release(state); }
    ktPythonLock(const ktPythonLock&) = delete;
    ktPythonLock& operator=(const ktPythonLock&) = delete;

private:
    PyGILState_STATE state;
};

/// Whether this thread holds the interpreter's lock.
inline bool ktHoldsPythonLock() {
#if PY_MAJOR_VERSION < 3
    return PyGILState_GetThisThreadState() && PyGILState_GetThisThreadState() == _PyThreadState_Current;
#else
    return PyGILState_Check() != 0;
#endif
}

/// Converts UTF-8 to a new native string. Replaces invalid bytes.
inline PyObject* ktPythonText(const std::string& text) {
#if PY_MAJOR_VERSION < 3
    return PyString_FromStringAndSize(text.data(), static_cast<Py_ssize_t>(text.size()));
#else
    return PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace");
#endif
}

/// The object's text in UTF-8; empty if it has none.
inline std::string ktPythonString(PyObject* object) {
    if (!object)
        return {};
    const ktPythonObject text(PyObject_Str(object));
    if (!text) {
        PyErr_Clear();
        return {};
    }
#if PY_MAJOR_VERSION < 3
    return std::string(PyString_AsString(text.get()), static_cast<std::size_t>(PyString_Size(text.get())));
#else
    const ktPythonObject bytes(PyUnicode_AsEncodedString(text.get(), "utf-8", "replace"));
    return bytes ? std::string(PyBytes_AsString(bytes.get()), static_cast<std::size_t>(PyBytes_Size(bytes.get())))
                 : std::string();
#endif
}
