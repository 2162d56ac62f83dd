// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <unistd.h>

/// Owns a file descriptor of the operating system and closes it at the end of its scope. A negative number is none.
class ktDescriptor {
public:
    explicit ktDescriptor(int number_) : number(number_) {}
    ~ktDescriptor() {
        if (number >= 0)
            close(number);
    }
    ktDescriptor(const ktDescriptor&) = delete;
    ktDescriptor& operator=(const ktDescriptor&) = delete;

    const int number;
};
