// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// The version of the project, from CMakeLists.txt: programs, modules, packages and documents have it. The plug-in has
/// its own, getPluginVersion().
const char* ktProjectVersion();
