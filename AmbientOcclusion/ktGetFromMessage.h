// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktMessage.h"

#include <boost/any.hpp>
#include <cstdio>
#include <cstring>
#include <string>
#include <typeinfo>

/// Copies the value under `name` into `value` if it has exactly the type T. Returns whether it did; else `value` is
/// unchanged. A missing value is not reported. A value of another type is reported on standard error, with the
/// compiler's names of the two types and the host's call trace.
template <class T>
bool getFromMessage(const ktMessage& message, const std::string& name, T& value) {
    const boost::any& held = message.get(name);
    if (held.empty())
        return false;
    // Compares the text of the names: each library may have its own type_info object for a type.
    const char* heldType = held.type().name();
    const char* wantedType = typeid(T).name();
    if (std::strcmp(heldType, wantedType) != 0) {
        std::fprintf(stderr, "getFromMessage : Attribute '%s' has wrong type (is:'%s' != req:'%s')!\n", name.c_str(),
                     heldType, wantedType);
        ktMessage::printBT();
        return false;
    }
    value = boost::any_cast<T>(held);
    return true;
}
