// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls the scene graph, the host and the plug-in of the installed package.
#include <cstdio>
#include <ktAmbientOcclusion.h>
#include <ktHostSignals.h>
#include <ktPreview.h>
#include <ktSceneFile.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    osg::NodePtr parent = osg::Node::create(), child = osg::Node::create();
    osg::addRefCP(parent);
    parent->setCore(osg::Group::create());
    child->setCore(osg::Group::create());
    parent->addChild(child);
    ktHostSignals::the();
    std::printf("version %s, %u child, shadow quality %d\n", getPluginVersion(),
                static_cast<unsigned>(parent->getNChildren()), ktAmbientOcclusion::the()->getShadowQuality());
    osg::subRefCP(parent);
    ktFileReport report;
    if (ktSceneFile::open("missing.glb", {}, report) || ktPreviewSideNames().empty())
        return 1;
    return 0;
}
