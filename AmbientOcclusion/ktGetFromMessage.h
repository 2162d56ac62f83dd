// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktMessage.h"

#include <boost/any.hpp>
#include <cstdio>
#include <cstring>
#include <string>
#include <typeinfo>

/// Copies the value under `name` into `value` if it is there with exactly the type T, and tells whether it did; else
/// `value` stays as it was. A missing value is nothing to talk about; one of another type is reported on standard
/// error, with the names that the compiler gives the types, and the host's call trace.
template <class T>
bool getFromMessage(const ktMessage& message, const std::string& name, T& value) {
    const boost::any& held = message.get(name);
    if (held.empty())
        return false;
    // By the text of the names: another library's record of the same type is another object.
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
