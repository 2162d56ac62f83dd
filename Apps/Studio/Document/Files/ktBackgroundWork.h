// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>

/// Runs `work` on another thread and handles events until it is done. Where no thread starts, runs it on this one. Main
/// thread only; `work` must not throw.
void ktRunInBackground(const std::function<void()>& work);
