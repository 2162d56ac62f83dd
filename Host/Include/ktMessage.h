// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <boost/any.hpp>
#include <string>
#include <utility>
#include <vector>

/// A record of named values of any type, in the order in which the names were first set.
class KT_HOST_EXPORT ktMessage {
public:
    /// Stores `value` under `name`. If `overwrite` is false, keeps an existing value. Returns whether it was stored.
    bool set(const std::string& name, boost::any value, bool overwrite);
    /// The value under `name`, or an empty one. The reference is valid until the next set().
    const boost::any& get(const std::string& name) const;
    /// Names in order.
    std::vector<std::string> names() const;
    /// Prints the current call stack to standard error, to find the origin of a wrong message.
    static void printBT();

private:
    std::vector<std::pair<std::string, boost::any>> attributes;
};
