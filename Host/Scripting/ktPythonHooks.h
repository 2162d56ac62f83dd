// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// The hooks that plug-ins have registered through ktPythonInit.
namespace ktPythonHooks {

/// Calls all hooks in the order in which they were registered.
void callAll(bool destroy);

} // namespace ktPythonHooks
