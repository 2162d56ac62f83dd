// SPDX-License-Identifier: LGPL-2.1-or-later
// Starts and stops the Python interpreter, runs scripts, and logs their errors.
#include "ktScripting.h"

#include "ktLog.h"
#include "ktPythonEnd.h"
#include "ktPythonHooks.h"
#include "ktPythonObject.h"
#include "ktScript.h"
#include "ktScriptInterrupt.h"
#include "ktWaitHooks.h"

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

bool running = false;
PyThreadState* givenUp = nullptr; // while the main thread waits for workers

PyObject* mainNamespace() {
    return PyModule_GetDict(PyImport_AddModule("__main__")); // borrowed
}

void emptyMainNamespace() {
    PyObject* const names = mainNamespace();
    PyDict_Clear(names);
    const ktPythonObject name(ktPythonText("__main__"));
    PyDict_SetItemString(names, "__name__", name.get());
#if PY_MAJOR_VERSION < 3
    const ktPythonObject builtins(PyImport_ImportModule("__builtin__"));
#else
    const ktPythonObject builtins(PyImport_ImportModule("builtins"));
#endif
    PyDict_SetItemString(names, "__builtins__", builtins.get());
}

void logLines(const std::string& text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        if (end > begin)
            ktLog::error("%s", text.substr(begin, end - begin).c_str());
        begin = end + 1;
    }
}

// Returns the text that the interpreter would print for the current error, and clears the error.
std::string takeTraceback() {
    PyObject *type = nullptr, *value = nullptr, *trace = nullptr;
    PyErr_Fetch(&type, &value, &trace);
    PyErr_NormalizeException(&type, &value, &trace);
    const ktPythonObject heldType(type), heldValue(value), heldTrace(trace);
    const ktPythonObject module(PyImport_ImportModule("traceback"));
    std::string text;
    if (module) {
        const ktPythonObject lines(PyObject_CallMethod(module.get(), const_cast<char*>("format_exception"),
                                                       const_cast<char*>("OOO"), type, value ? value : Py_None,
                                                       trace ? trace : Py_None));
        const Py_ssize_t count = lines ? PySequence_Size(lines.get()) : 0;
        for (Py_ssize_t i = 0; i < count; ++i) {
            const ktPythonObject line(PySequence_GetItem(lines.get(), i));
            text += ktPythonString(line.get());
        }
    }
    PyErr_Clear();
    return text.empty() ? "unknown error\n" : text;
}

// sys.exit(): uses its argument as a process would.
ktScripting::Result takeExit() {
    PyObject *type = nullptr, *value = nullptr, *trace = nullptr;
    PyErr_Fetch(&type, &value, &trace);
    PyErr_NormalizeException(&type, &value, &trace);
    const ktPythonObject heldType(type), heldValue(value), heldTrace(trace);
    ktScripting::Result result;
    const ktPythonObject code(value ? PyObject_GetAttrString(value, "code") : nullptr);
    PyErr_Clear();
    if (!code || code.get() == Py_None) {
        result.exitCode = 0;
        result.hasExited = true;
    } else {
        const long number = PyLong_AsLong(code.get());
        if (number == -1 && PyErr_Occurred()) {
            PyErr_Clear();
            result.exitCode = 1;
            result.error = ktPythonString(code.get());
            logLines(result.error);
        } else {
            result.exitCode = static_cast<int>(number);
            result.hasExited = true;
        }
    }
    result.succeeded = result.exitCode == 0;
    if (!result.succeeded && result.error.empty())
        result.error = "the script ended with exit code " + std::to_string(result.exitCode);
    return result;
}

/// Flushes the output of scripts, because the interpreter may never be finalised.
void flushStreams() {
    for (const char* stream : {"stdout", "stderr"}) {
        PyObject* const object = PySys_GetObject(const_cast<char*>(stream)); // borrowed
        if (object && object != Py_None)
            const ktPythonObject done(PyObject_CallMethod(object, const_cast<char*>("flush"), nullptr));
    }
    PyErr_Clear();
}

/// The folder of the libraries.
std::string libraryFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&ktScript::run), &info) == 0 || !info.dli_fname)
        return {};
    const std::string path = info.dli_fname;
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

/// Where the modules for scripts are: beside the libraries, or, in an installation, where the interpreter looks below
/// /usr.
std::string moduleFolder() {
    std::string libraries = libraryFolder();
    std::error_code missing;
    const auto module = std::filesystem::canonical(libraries + "/" KT_MODULES_FROM_LIBRARIES "/kthost.so", missing);
    return missing ? libraries : module.parent_path().string();
}

/// Scripts find the modules of this installation, not those of another one that the interpreter finds by itself.
void findModules() {
    const ktPythonObject folder(ktPythonText(moduleFolder()));
    PyObject* const search = PySys_GetObject(const_cast<char*>("path"));
    if (search && PySequence_Contains(search, folder.get()) == 0)
        PyList_Insert(search, 0, folder.get());
}

ktScripting::Result execute(const std::string& source, const char* name) {
    ktScripting::Result result;
    if (!running) {
        ktLog::error("Scripting is not running");
        result.exitCode = 1;
        result.error = "scripting is not running";
        return result;
    }
    const ktPythonLock lock;
    const ktScriptInterrupt::Execution execution;
    const ktPythonObject code(Py_CompileString(source.c_str(), name, Py_file_input));
    ktPythonObject value;
    if (code) {
        PyObject* const names = mainNamespace();
#if PY_MAJOR_VERSION < 3
        value = ktPythonObject(PyEval_EvalCode(reinterpret_cast<PyCodeObject*>(code.get()), names, names));
#else
        value = ktPythonObject(PyEval_EvalCode(code.get(), names, names));
#endif
    }
    if (value) {
        result.succeeded = true;
        flushStreams();
        return result;
    }
    if (PyErr_ExceptionMatches(PyExc_SystemExit)) {
        ktScripting::Result exit = takeExit();
        flushStreams();
        return exit;
    }
    const std::string traceback = takeTraceback();
    flushStreams(); // before the error is logged
    logLines(traceback);
    result.exitCode = 1;
    result.error = traceback.substr(0, traceback.find_last_not_of('\n') + 1);
    result.error = result.error.substr(result.error.rfind('\n') + 1);
    return result;
}

} // namespace

void ktScripting::start() {
    if (running)
        return;
    if (!Py_IsInitialized()) {
        Py_InitializeEx(0); // the application handles its own signals
        emptyMainNamespace();
        findModules();
        ktScriptInterrupt::prepare();
    }
    attach();
    running = true;
    ktPythonHooks::callAll(false);
}

void ktScripting::attach() {
#if PY_MAJOR_VERSION < 3
    PyEval_InitThreads(); // creates the interpreter's lock
#endif
    ktWaitHooks::set([] { givenUp = ktHoldsPythonLock() ? PyEval_SaveThread() : nullptr; },
                     [] {
                         if (givenUp)
                             PyEval_RestoreThread(std::exchange(givenUp, nullptr));
                     });
}

void ktScripting::stop() {
    if (!running)
        return;
    ktPythonHooks::callAll(true);
    running = false;
    const ktPythonLock lock;
    emptyMainNamespace();
    PyGC_Collect();
}

bool ktScripting::end() {
    if (!running)
        return true;
    const ktPythonLock lock;
    bool isWhole = false;
    {
        const ktScriptInterrupt::Execution execution;
        isWhole = ktPythonEnd::joinThreads();
        isWhole = ktPythonEnd::callExitFunctions() && isWhole;
    }
    stop();
    ktPythonEnd::flushFiles();
    return isWhole;
}

void ktScripting::restart() {
    stop();
    start();
}

bool ktScripting::isRunning() {
    return running;
}

ktScripting::Result ktScripting::runStatements(const std::string& statements) {
    return execute(statements, "<host>");
}

ktScripting::Result ktScripting::runFile(const std::string& path, const std::vector<std::string>& arguments) {
    std::ifstream file(path, std::ios::binary);
    const std::string source{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        ktLog::error("Cannot read the script \"%s\"", path.c_str());
        Result result;
        result.exitCode = 1;
        result.error = "cannot read the script";
        return result;
    }
    if (running) {
        const ktPythonLock lock;
        const ktPythonObject list(PyList_New(0));
        const auto append = [&list](const std::string& text) {
            const ktPythonObject item(ktPythonText(text));
            PyList_Append(list.get(), item.get());
        };
        append(path);
        for (const std::string& argument : arguments)
            append(argument);
        PySys_SetObject(const_cast<char*>("argv"), list.get());
        const ktPythonObject name(ktPythonText(path));
        PyDict_SetItemString(mainNamespace(), "__file__", name.get());
        // Makes modules in the script's folder importable, as the interpreter itself does.
        const std::size_t slash = path.rfind('/');
        const ktPythonObject folder(ktPythonText(slash == std::string::npos ? "." : path.substr(0, slash)));
        if (PyObject* const search = PySys_GetObject(const_cast<char*>("path")))
            PyList_Insert(search, 0, folder.get());
    }
    Result result = execute(source, path.c_str());
    if (running) {
        const ktPythonLock lock;
        if (PyObject* const search = PySys_GetObject(const_cast<char*>("path")))
            PySequence_DelItem(search, 0);
    }
    return result;
}

void ktScripting::interrupt() {
    ktScriptInterrupt::request();
}

bool ktScript::run(const char* statements) {
    return statements && ktScripting::runStatements(statements).succeeded;
}
