// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <stdexcept>

/// A failure that scripts receive as kthost.Error, with the same text.
class ktHostModuleError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
