// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>

/// Replaces the functions of Boost.Python in the module `kthost` by built-in functions that call them. These
/// - have a signature for `inspect.signature` in Python 3: their help texts begin with it;
/// - take numbers of any type, such as scalars of NumPy;
/// - deliver log lines of other threads to on_log() before they return.
/// Call once, when the module is complete.
void ktFinishFunctions(const boost::python::object& module);
