// SPDX-License-Identifier: LGPL-2.1-or-later
// Registers the hooks that plug-ins run when scripting starts and stops.
#include "ktPythonInit.h"

#include "ktPythonHooks.h"
#include "ktScripting.h"

#include <algorithm>
#include <vector>

namespace {

// Created on first use: static objects of plug-ins register while libraries are loaded, in an unknown order.
std::vector<void (*)(bool)>& registered() {
    static auto* const hooks = new std::vector<void (*)(bool)>;
    return *hooks;
}

} // namespace

void ktPythonHooks::callAll(bool destroy) {
    const std::vector<void (*)(bool)> hooks = registered(); // a copy, because a hook may load a plug-in
    for (void (*hook)(bool) : hooks)
        hook(destroy);
}

ktPythonInit::ktPythonInit(void (*newHook)(bool)) : hook(newHook) {
    registered().push_back(hook);
    if (ktScripting::isRunning())
        hook(false);
}

ktPythonInit::~ktPythonInit() {
    auto& hooks = registered();
    const auto found = std::find(hooks.begin(), hooks.end(), hook);
    if (found != hooks.end())
        hooks.erase(found);
}
