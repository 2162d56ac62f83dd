// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <boost/python.hpp>
#include <string>

/// Whether the object is a string: of either kind in Python 2.
bool ktIsPythonString(const boost::python::object& object);

/// UTF-8 text of a string; in Python 3 of an os.PathLike, too. Sets TypeError and throws error_already_set for others.
/// @param what names the argument in the message
std::string ktTextArgument(const boost::python::object& object, const char* what);

/// A native string from UTF-8; bytes that are none are replaced.
boost::python::object ktTextResult(const std::string& text);
