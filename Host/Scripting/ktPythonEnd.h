// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// The steps of an interpreter that ends, in their order, without Py_Finalize(): Boost.Python, whose objects live as
/// long as the process, does not allow that. The interpreter's lock must be held.
namespace ktPythonEnd {

/// Waits for the threads that scripts have started, except daemons. @return false when interrupted
bool joinThreads();
/// Calls what scripts have registered with atexit. Their errors are printed. @return false when interrupted
bool callExitFunctions();
/// Writes out the files that are still open, wherever scripts hold them.
void flushFiles();

} // namespace ktPythonEnd
