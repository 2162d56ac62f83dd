// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

/// Makes the tracer that the host uses, with nothing built yet.
/// @throws std::runtime_error when it cannot start, std::bad_alloc
std::unique_ptr<ktTracer> ktMakeTracer();
