// SPDX-License-Identifier: LGPL-2.1-or-later
// Ends the interpreter in the right order: joins threads, runs atexit functions, flushes files.
#include "ktPythonEnd.h"

#include "ktPythonObject.h"

namespace {

/// Runs statements in a namespace that scripts do not see. Errors are printed. @return false after KeyboardInterrupt
bool run(const char* statements) {
    const ktPythonObject names(PyDict_New());
    PyDict_SetItemString(names.get(), "__builtins__", PyEval_GetBuiltins());
    const ktPythonObject done(PyRun_String(statements, Py_file_input, names.get(), names.get()));
    if (done)
        return true;
    const bool isInterrupted = PyErr_ExceptionMatches(PyExc_KeyboardInterrupt) != 0;
    // PyErr_Print() would end the process after sys.exit().
    if (PyErr_ExceptionMatches(PyExc_SystemExit))
        PyErr_Clear();
    else
        PyErr_Print();
    return !isInterrupted;
}

} // namespace

bool ktPythonEnd::joinThreads() {
    return run("import sys\n"
               "threading = sys.modules.get('threading')\n"
#if PY_MAJOR_VERSION < 3
               // A wait without a limit cannot be interrupted in Python 2.
               "while threading:\n"
               "    own = threading.current_thread()\n"
               "    others = [t for t in threading.enumerate() if t is not own and not t.daemon]\n"
               "    if not others:\n"
               "        break\n"
               "    others[0].join(0.1)\n"
#endif
               "if threading:\n"
               "    threading._shutdown()\n");
}

bool ktPythonEnd::callExitFunctions() {
#if PY_MAJOR_VERSION < 3
    return run("import sys\n"
               "call = getattr(sys, 'exitfunc', None)\n"
               "if call:\n"
               "    del sys.exitfunc\n"
               "    call()\n");
#else
    return run("import atexit\n"
               "atexit._run_exitfuncs()\n");
#endif
}

// Those of the C library are written out at the end of the process.
void ktPythonEnd::flushFiles() {
    run("import gc, io, sys\n"
        "for opened in gc.get_objects():\n"
        "    try:\n"
        "        if issubclass(type(opened), io.IOBase) and not opened.closed:\n"
        "            opened.flush()\n"
        "    except Exception as error:\n"
        "        sys.stderr.write('%r cannot be written: %s\\n' % (opened, error))\n");
}
