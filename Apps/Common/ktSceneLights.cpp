// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks that a scene has the lights that a mode needs: with the colours of no lights, the result would be black.
#include "ktSceneLights.h"

#include "ktAmbientOcclusion.h"
#include "ktLights.h"
#include "ktLog.h"
#include "ktSceneLight.h"

#include <OpenSG/OSGSwitch.h>
#include <vector>

/// The light nodes that a run uses. Trees may have any depth.
static std::vector<osg::NodePtr> findVisibleLights(const osg::NodePtr& root) {
    std::vector<osg::NodePtr> lights, open = {root};
    while (!open.empty()) {
        const osg::NodePtr node = open.back();
        open.pop_back();
        if (node == osg::NullFC || !node->getActive())
            continue;
        if (ktLights::isLight(node) && !ktLights::isRayFileLight(node))
            lights.push_back(node);
        const auto choices = osg::SwitchPtr::dcast(node->getCore());
        const osg::Int32 choice = choices == osg::NullFC ? osg::Switch::ALL : choices->getChoice();
        for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
            if (choice == osg::Switch::ALL || choice == static_cast<osg::Int32>(i))
                open.push_back(node->getChild(i));
    }
    return lights;
}

std::string ktCheckLights(const osg::NodePtr& root) {
    namespace Settings = ktAmbientOcclusionSettings;
    const int mode = Settings::Mode::get(*ktAmbientOcclusion::the());
    if (mode == ktAmbientOcclusion::Classic || !ktReadLights(findVisibleLights(root)).empty())
        return {};
    if (mode == ktAmbientOcclusion::LightAndShadows)
        return std::string("the mode ") + Settings::Mode::choices[mode] +
               " needs a light that shines, and the scene has none; the mode classic needs none";
    ktLog::warning("The scene has no light that shines; the mode %s gives the same as the mode classic",
                   Settings::Mode::choices[mode]);
    return {};
}
