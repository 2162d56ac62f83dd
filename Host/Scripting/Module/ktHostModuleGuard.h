// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <string>

/// What every function of the module `kthost` checks before it begins.
namespace ktHostModuleGuard {

/// Throws ktHostModuleError off the main thread, which is that of the application object.
void requireMainThread();
/// Logs the reason as an error and throws it as ktHostModuleError: a call that changed nothing.
[[noreturn]] void refuse(const std::string& reason);
/// Refuses the call while a bake is under way, or a picture is drawn.
void refuseWhileBaking();

/// During its lifetime, a picture is drawn. Main thread only.
class Drawing {
public:
    Drawing();
    ~Drawing();
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;
};

/// A function of the module with the check for the main thread in front: `&OnMainThread<&f>::call`.
template <auto function>
struct OnMainThread;

template <class Result, class... Arguments, Result (*function)(Arguments...)>
struct OnMainThread<function> {
    static Result call(Arguments... arguments) {
        requireMainThread();
        return function(arguments...);
    }
};

} // namespace ktHostModuleGuard
