// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>

/// Adds to the module `kthost` the type `Settings` and its only object `settings`: the settings as attributes, and a
/// dictionary of all when it is called.
void ktAddSettings(const boost::python::object& module);
