// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Fills the scripting module that is being created; called by the interpreter's entry point.
void init_module_ktAmbientOcclusion();
