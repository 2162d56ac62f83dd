// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>

/// What a script hears of a bake, and how it ends one: functions of the module `kthost`, described in
/// ktHostModuleHelp.h.
namespace ktHostModuleWatch {

/// Connects to the host and the plug-in; once, on the main thread.
void start();

void onProgress(const boost::python::object& callback);
void onCancel(const boost::python::object& callback);
/// Any thread.
void cancel();

} // namespace ktHostModuleWatch
