// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktHostSignals.h"

ktHostSignals& ktHostSignals::the() {
    // Never destroyed: destructors of other statics, a plug-in's too, may still log.
    static ktHostSignals* const instance = new ktHostSignals;
    return *instance;
}
