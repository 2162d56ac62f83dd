// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <memory>

class QThread;

/// A thread that is not started yet. Its work may create, reference and destroy containers of the scene graph:
/// OpenSG 1.8 allows that only to threads that it knows. Main thread only; `work` must not throw.
std::unique_ptr<QThread> ktMakeSceneThread(std::function<void()> work);

/// Runs `work` on another thread and handles events until it is done. Where no thread starts, runs it on this one. Main
/// thread only; `work` must not throw.
void ktRunInBackground(const std::function<void()>& work);
