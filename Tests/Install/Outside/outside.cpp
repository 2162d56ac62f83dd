// SPDX-License-Identifier: LGPL-2.1-or-later
// Calls the scene graph, the host and the plug-in of the installed package.
#ifdef WITH_VISITOR
#include "visitor.h"
#endif
#include <cstdio>
#include <ktAmbientOcclusion.h>
#include <ktHostSignals.h>
#include <ktPreview.h>
#include <ktSceneFile.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <QCoreApplication>

// Lets the plug-in visit a group with a quad. False if it does something wrong.
static bool visits() {
#ifdef WITH_VISITOR
    osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    types->push_back(GL_QUADS);
    osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
    for (osg::UInt32 i = 0; i < 4; ++i)
        positions->push_back(osg::Pnt3f(osg::Real32(i % 2), osg::Real32(i / 2), 0));
    osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    lengths->push_back(4);
    osg::GeometryPtr geometry = osg::Geometry::create();
    osg::beginEditCP(geometry);
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setPositions(positions);
    osg::endEditCP(geometry);
    osg::NodePtr root = osg::Node::create(), leaf = osg::Node::create();
    osg::addRefCP(root);
    root->setCore(osg::Assembly::create());
    leaf->setCore(geometry);
    root->addChild(leaf);
    const int nodes = markFaces(root);
    osg::MarkPtr mark = osg::MarkPtr::dcast(leaf->findAttachment(osg::Mark::getClassType()));
    bool isRight = nodes == 2 && mark != osg::NullFC && mark->getFaces() == 1 && osg::Assembly::living == 1;
    osg::subRefCP(root);
    return isRight && osg::Assembly::living == 0;
#else
    return true;
#endif
}

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    osg::osgInit(argc, argv);
    if (!visits())
        return 2;
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
