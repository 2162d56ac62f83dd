// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Fills the new scripting module. Called by the interpreter's entry point.
void init_module_ktAmbientOcclusion();
