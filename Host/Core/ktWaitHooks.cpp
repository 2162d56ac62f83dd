// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls the hooks of scripting before and after the main thread waits for its workers.
#include "ktWaitHooks.h"

#include <thread>
#include <utility>

namespace {

struct Hooks {
    std::function<void()> before, after;
    std::thread::id owner; // not called for waits of other threads
};

Hooks& hooks() {
    static Hooks instance;
    return instance;
}

} // namespace

void ktWaitHooks::set(std::function<void()> before, std::function<void()> after) {
    hooks() = {std::move(before), std::move(after), std::this_thread::get_id()};
}

ktWaitHooks::Wait::Wait() : isMainThread(hooks().before && hooks().owner == std::this_thread::get_id()) {
    if (isMainThread)
        hooks().before();
}

ktWaitHooks::Wait::~Wait() {
    if (isMainThread && hooks().after)
        hooks().after();
}
