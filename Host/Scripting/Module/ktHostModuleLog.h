// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>

/// Functions of the module `kthost` for the log, described in ktHostModuleHelp.h.
namespace ktHostModuleLog {

void onLog(const boost::python::object& callback);
/// Passes the lines that other threads have logged to the callback.
void deliver();
void setQuiet(bool quiet);

} // namespace ktHostModuleLog
