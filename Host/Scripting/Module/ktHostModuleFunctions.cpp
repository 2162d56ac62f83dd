// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes built-in functions, with signatures, of the functions of the module kthost.
#include "ktHostModuleFunctions.h"

#include "ktHostModuleLog.h"
#include "ktPythonNumber.h"

#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace python = boost::python;

namespace {

constexpr std::size_t mostFunctions = 48;

std::array<PyObject*, mostFunctions> targets; // owned until the process ends; the module exists once
std::array<PyMethodDef, mostFunctions> definitions;
std::array<std::string, mostFunctions> functionNames, texts;

PyObject* plainArguments(PyObject* arguments) {
    const Py_ssize_t count = PyTuple_GET_SIZE(arguments);
    ktPythonObject plain(PyTuple_New(count));
    for (Py_ssize_t i = 0; plain && i < count; ++i) {
        PyObject* const value = ktPlainNumber(PyTuple_GET_ITEM(arguments, i));
        if (!value)
            return nullptr;
        PyTuple_SET_ITEM(plain.get(), i, value); // takes over the reference
    }
    Py_XINCREF(plain.get());
    return plain.get();
}

PyObject* plainKeywords(PyObject* keywords) {
    ktPythonObject plain(PyDict_New());
    PyObject *key = nullptr, *value = nullptr; // borrowed
    Py_ssize_t position = 0;
    while (plain && keywords && PyDict_Next(keywords, &position, &key, &value)) {
        const ktPythonObject number(ktPlainNumber(value));
        if (!number || PyDict_SetItem(plain.get(), key, number.get()) != 0)
            return nullptr;
    }
    Py_XINCREF(plain.get());
    return plain.get();
}

template <std::size_t which>
PyObject* call(PyObject*, PyObject* arguments, PyObject* keywords) {
    const ktPythonObject plain(plainArguments(arguments)), plainByName(plain ? plainKeywords(keywords) : nullptr);
    if (!plainByName)
        return nullptr;
    PyObject* const result = PyObject_Call(targets[which], plain.get(), plainByName.get());
    ktHostModuleLog::deliver();
    return result;
}

template <std::size_t... which>
std::array<PyCFunctionWithKeywords, mostFunctions> makeCalls(std::index_sequence<which...>) {
    return {call<which>...};
}

/// The text without the line feed that Boost.Python puts in front, and with the mark behind the signature that the
/// interpreter looks for.
std::string withSignature(std::string text) {
    text.erase(0, text.find_first_not_of('\n'));
#if PY_MAJOR_VERSION >= 3
    const std::size_t end = text.find("\n\n");
    if (end != std::string::npos)
        text.insert(end, "\n--");
#endif
    return text;
}

} // namespace

void ktFinishFunctions(const python::object& module) {
    static const auto calls = makeCalls(std::make_index_sequence<mostFunctions>());
    std::size_t count = 0;
    const python::object moduleName = module.attr("__name__");
    const python::list all = python::list(module.attr("__dict__").attr("items")());
    for (python::ssize_t i = 0; i < python::len(all); ++i) {
        const python::object name = all[i][0], function = all[i][1];
        if (std::strcmp(Py_TYPE(function.ptr())->tp_name, "Boost.Python.function") != 0)
            continue;
        if (count == mostFunctions)
            throw std::length_error("kthost has more functions than expected");
        functionNames[count] = python::extract<std::string>(name);
        texts[count] = withSignature(python::extract<std::string>(function.attr("__doc__")));
        targets[count] = python::incref(function.ptr());
        definitions[count] = {functionNames[count].c_str(),
                              reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(calls[count])),
                              METH_VARARGS | METH_KEYWORDS, texts[count].c_str()};
        python::setattr(
            module, name,
            python::object(python::handle<>(PyCFunction_NewEx(&definitions[count], module.ptr(), moduleName.ptr()))));
        ++count;
    }
}
