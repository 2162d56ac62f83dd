// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// The hooks that plug-ins have registered with ktPythonInit.
namespace ktPythonHooks {

/// Calls all hooks in the order of their registration.
void callAll(bool destroy);

} // namespace ktPythonHooks
