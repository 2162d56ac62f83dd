// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktTracerFactory.h"

#include "ktEmbreeTracer.h"

std::unique_ptr<ktTracer> ktMakeTracer() {
    return std::make_unique<ktEmbreeTracer>();
}
