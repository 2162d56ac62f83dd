// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <clocale>

/// While it lives, functions of the C library on this thread read and write numbers with a decimal point, whatever the
/// locale of the process is. Libraries that read scene files use such functions. If the locale cannot be made, nothing
/// changes.
class ktDecimalPoint {
public:
    ktDecimalPoint() : neutral(newlocale(LC_NUMERIC_MASK, "C", duplocale(uselocale(nullptr)))) {
        if (neutral)
            former = uselocale(neutral);
    }
    ~ktDecimalPoint() {
        if (neutral) {
            uselocale(former);
            freelocale(neutral);
        }
    }
    ktDecimalPoint(const ktDecimalPoint&) = delete;
    ktDecimalPoint& operator=(const ktDecimalPoint&) = delete;

private:
    const locale_t neutral;
    locale_t former = nullptr;
};
