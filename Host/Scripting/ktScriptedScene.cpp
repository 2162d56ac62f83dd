// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the scene that an application shares with scripts.
#include "ktScriptedScene.h"

static ktScriptedScene* shared = nullptr;

ktScriptedScene::~ktScriptedScene() = default;

ktScriptedScene* ktScriptedScene::get() {
    return shared;
}

void ktScriptedScene::set(ktScriptedScene* scene) {
    shared = scene;
}
