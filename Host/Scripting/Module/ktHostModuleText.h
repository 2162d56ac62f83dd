// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>
#include <string>

/// Whether the object is a string, in Python 2 of either type.
bool ktIsPythonString(const boost::python::object& object);

/// The UTF-8 text of a string, or in Python 3 of an os.PathLike. For other objects sets TypeError and throws
/// error_already_set. @param what name of the argument, for the message
std::string ktTextArgument(const boost::python::object& object, const char* what);

/// Converts UTF-8 to a native string. Replaces invalid bytes.
boost::python::object ktTextResult(const std::string& text);
