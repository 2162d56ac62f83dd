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
/// Thread-safe.
void cancel();

} // namespace ktHostModuleWatch
