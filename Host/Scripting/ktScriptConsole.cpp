// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs what a person types in the interpreter, and handles events meanwhile.
#include "ktScriptConsole.h"

#include "ktPythonObject.h"
#include "ktScripting.h"
#include "ktScriptInterrupt.h"

#include <atomic>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace {

constexpr auto tickInterval = std::chrono::milliseconds(30);

// For both interpreters. _print is put into the namespace below.
const char* const helper = R"(
import codeop, io, keyword, re, sys, traceback

class Stream(object):
    encoding = 'utf-8'
    def __init__(self, is_error):
        self.is_error = is_error
    def write(self, text):
        _print(text, self.is_error)
        return len(text)
    def writelines(self, lines):
        for line in lines:
            self.write(line)
    def flush(self):
        pass
    def isatty(self):
        return False

def print_error():
    kind, value, trace = sys.exc_info()
    if issubclass(kind, KeyboardInterrupt):
        _print('KeyboardInterrupt\n', 1)
        return
    # Without the lines of this helper.
    lines = traceback.format_exception(kind, value, trace and trace.tb_next)
    _print(''.join(lines), 1)

def execute(code, names):
    kept = sys.stdout, sys.stderr, sys.stdin
    sys.stdout, sys.stderr, sys.stdin = Stream(0), Stream(1), io.StringIO()
    try:
        exec(code, names)
        return 0
    except SystemExit as end:
        if end.code is None or end.code == 0:
            return 0
        _print('SystemExit: %s\n' % (end.code,), 1)
        return 1
    except BaseException:
        print_error()
        return 1
    finally:
        sys.stdout, sys.stderr, sys.stdin = kept

def run(source, names):
    try:
        try:
            code = codeop.compile_command(source, '<console>', 'single')
        except SyntaxError:
            if '\n' not in source.strip():
                raise
            code = compile(source, '<console>', 'exec') # several statements
    except (SyntaxError, ValueError, OverflowError):
        kind, value, trace = sys.exc_info()
        _print(''.join(traceback.format_exception_only(kind, value)), 1)
        return 1
    return 2 if code is None else execute(code, names)

def run_file(path, names):
    try:
        with io.open(path, 'rb') as opened:
            code = compile(opened.read(), path, 'exec')
    except Exception:
        kind, value, trace = sys.exc_info()
        _print(''.join(traceback.format_exception_only(kind, value)), 1)
        return 1
    sys.argv = [path]
    names['__file__'] = path
    return execute(code, names)

def complete(text, names):
    text = re.search(r'[A-Za-z_0-9.]*$', text).group()
    head, dot, tail = text.rpartition('.')
    try:
        if dot:
            value = names[head.split('.')[0]]
            for name in head.split('.')[1:]:
                value = getattr(value, name)
            options = dir(value)
        else:
            options = list(names) + keyword.kwlist + list(__builtins__)
    except Exception:
        return []
    return sorted(set(head + dot + name for name in options
                      if name.startswith(tail) and (tail or not name.startswith('_'))))
)";

// Of the only console; main thread, except isRunning.
ktScriptConsole::Print printed;
std::function<void()> ticked;
PyObject* functions = nullptr; // the namespace of the helper; lives as long as the process
std::atomic<bool> isRunning{false}, isTicking{false};

PyObject* print(PyObject*, PyObject* arguments) {
    PyObject* text = nullptr; // borrowed
    int isError = 0;
    if (!PyArg_ParseTuple(arguments, "Oi", &text, &isError))
        return nullptr;
    if (printed)
        printed(ktPythonString(text), isError != 0);
    Py_INCREF(Py_None);
    return Py_None;
}

PyMethodDef printMethod = {"_print", print, METH_VARARGS, nullptr};

/// Called by the interpreter between two of its instructions, on the main thread.
int onPendingCall(void*) {
    if (isRunning && ticked)
        ticked();
    isTicking = false;
    return 0;
}

/// During its lifetime, asks the interpreter to call onPendingCall() again and again. Needs the interpreter's lock.
class Ticker {
public:
    Ticker() {
        isRunning = true;
        try {
            thread = std::thread([] {
                while (isRunning) {
                    std::this_thread::sleep_for(tickInterval);
                    if (!isRunning || isTicking.exchange(true))
                        continue;
                    if (Py_AddPendingCall(onPendingCall, nullptr) != 0)
                        isTicking = false;
                    // The interpreter looks for calls of other threads when it gets its lock back.
                    const ktPythonLock lock;
                }
            });
        } catch (const std::system_error&) { // no thread starts: no ticks
        }
    }
    ~Ticker() {
        isRunning = false;
        PyThreadState* const given = PyEval_SaveThread(); // the thread may wait for the lock
        if (thread.joinable())
            thread.join();
        PyEval_RestoreThread(given);
    }
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

private:
    std::thread thread;
};

PyObject* mainNames() {
    return PyModule_GetDict(PyImport_AddModule("__main__")); // borrowed
}

void loadHelper() {
    functions = PyDict_New();
    PyDict_SetItemString(functions, "__builtins__", PyEval_GetBuiltins());
    const ktPythonObject method(PyCFunction_New(&printMethod, nullptr));
    PyDict_SetItemString(functions, "_print", method.get());
    const ktPythonObject code(Py_CompileString(helper, "<helper>", Py_file_input));
#if PY_MAJOR_VERSION < 3
    const ktPythonObject done(code ? PyEval_EvalCode(reinterpret_cast<PyCodeObject*>(code.get()), functions, functions)
                                   : nullptr);
#else
    const ktPythonObject done(code ? PyEval_EvalCode(code.get(), functions, functions) : nullptr);
#endif
    if (!done)
        PyErr_Print();
}

} // namespace

ktScriptConsole::ktScriptConsole(Print print_, std::function<void()> onTick) {
    printed = std::move(print_);
    ticked = std::move(onTick);
    ktScripting::start();
    const ktPythonLock lock;
    if (!functions)
        loadHelper();
}

ktScriptConsole::~ktScriptConsole() {
    printed = nullptr;
    ticked = nullptr;
}

ktScriptConsole::Outcome ktScriptConsole::call(const char* function, const std::string& text) {
    const ktPythonLock lock;
    const ktScriptInterrupt::Execution execution;
    const Ticker ticker;
    const ktPythonObject argument(ktPythonText(text));
    const ktPythonObject result(
        PyObject_CallFunctionObjArgs(PyDict_GetItemString(functions, function), argument.get(), mainNames(), nullptr));
    if (!result) { // an interrupt outside the statements
        PyErr_Clear();
        return Outcome::Failed;
    }
    const long code = PyLong_AsLong(result.get());
    return code == 0 ? Outcome::Done : code == 2 ? Outcome::Incomplete : Outcome::Failed;
}

ktScriptConsole::Outcome ktScriptConsole::run(const std::string& statements) {
    return call("run", statements);
}

ktScriptConsole::Outcome ktScriptConsole::runFile(const std::string& path) {
    return call("run_file", path);
}

std::vector<std::string> ktScriptConsole::complete(const std::string& text) {
    const ktPythonLock lock;
    const ktPythonObject argument(ktPythonText(text));
    const ktPythonObject list(PyObject_CallFunctionObjArgs(PyDict_GetItemString(functions, "complete"), argument.get(),
                                                           mainNames(), nullptr));
    std::vector<std::string> names;
    const Py_ssize_t count = list ? PySequence_Size(list.get()) : 0;
    for (Py_ssize_t i = 0; i < count; ++i) {
        const ktPythonObject name(PySequence_GetItem(list.get(), i));
        names.push_back(ktPythonString(name.get()));
    }
    PyErr_Clear();
    return names;
}
