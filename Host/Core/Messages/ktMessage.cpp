// SPDX-License-Identifier: LGPL-2.1-or-later
// Stores named values in the order in which the names were first set, and prints call stacks to find errors.
#include "ktMessage.h"

#include <algorithm>
#include <execinfo.h>
#include <unistd.h>

namespace {

template <class Attributes>
auto findAttribute(Attributes& attributes, const std::string& name) {
    return std::find_if(attributes.begin(), attributes.end(),
                        [&name](const auto& attribute) { return attribute.first == name; });
}

} // namespace

bool ktMessage::set(const std::string& name, boost::any value, bool overwrite) {
    const auto existing = findAttribute(attributes, name);
    if (existing == attributes.end()) {
        attributes.emplace_back(name, std::move(value));
        return true;
    }
    if (overwrite)
        existing->second = std::move(value);
    return overwrite;
}

const boost::any& ktMessage::get(const std::string& name) const {
    static const boost::any none;
    const auto found = findAttribute(attributes, name);
    return found == attributes.end() ? none : found->second;
}

std::vector<std::string> ktMessage::names() const {
    std::vector<std::string> result;
    result.reserve(attributes.size());
    for (const auto& attribute : attributes)
        result.push_back(attribute.first);
    return result;
}

void ktMessage::printBT() {
    void* frames[64];
    const int count = backtrace(frames, 64);
    backtrace_symbols_fd(frames, count, STDERR_FILENO);
}
