// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>

/// Functions of the module `kthost` that report the progress of a bake and cancel it, described in
/// ktHostModuleHelp.h.
namespace ktHostModuleWatch {

/// Connects to the host and the plug-in. Call once, on the main thread.
void start();

void onProgress(const boost::python::object& callback);
void onCancel(const boost::python::object& callback);
/// Thread-safe. Cancels the current run, never a later one.
void cancel();
/// Whether the last run had geometry to calculate.
bool hasGeometry();
/// Raises the exception of a callback in the run that has just ended, by throwing error_already_set. Does nothing
/// without one.
void raise();

/// During its lifetime, sets whether a bake that does not finish keeps the new results of finished geometry.
class Keep {
public:
    explicit Keep(bool finished);
    ~Keep();
    Keep(const Keep&) = delete;
    Keep& operator=(const Keep&) = delete;
};

} // namespace ktHostModuleWatch
