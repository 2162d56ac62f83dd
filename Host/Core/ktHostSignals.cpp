// SPDX-License-Identifier: LGPL-2.1-or-later
// Creates the object that sends the host's Qt signals to applications.
#include "ktHostSignals.h"

ktHostSignals& ktHostSignals::the() {
    // Never destroyed: destructors of other static objects, also of plug-ins, may still log.
    static ktHostSignals* const instance = new ktHostSignals;
    return *instance;
}
