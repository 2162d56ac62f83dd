// SPDX-License-Identifier: LGPL-2.1-or-later
// Prints what the scene graph does in many cases, one line each, for a comparison of two scene graphs.
#include "ktTable.h"

#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGChunkMaterial.h>
#include <OpenSG/OSGDirectionalLight.h>
#include <OpenSG/OSGEdgeIterator.h>
#include <OpenSG/OSGFaceIterator.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGLineIterator.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGPointLight.h>
#include <OpenSG/OSGPrimitiveIterator.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGSimpleMaterial.h>
#include <OpenSG/OSGSpotLight.h>
#include <OpenSG/OSGSwitch.h>
#include <OpenSG/OSGThread.h>
#include <OpenSG/OSGTransform.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <string>
#include <thread>
#include <vector>

using namespace ktTable;

namespace {

void printVolumes() {
    const NodePtr node = Node::create();
    addRefCP(node);
    line("volume of a new node", stateOf(node->getVolume()));
    node->updateVolume();
    line("volume of a new node, updated", stateOf(node->getVolume()));
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(makeRow({{GL_POINTS, 4}}));
    endEditCP(node, Node::CoreFieldMask);
    line("volume after setCore", stateOf(node->getVolume()));
    Pnt3f low, high;
    node->getVolume(true).getBounds(low, high);
    line("bounds of points", textOf(low), textOf(high), stateOf(node->getVolume()));
    node->invalidateVolume();
    line("volume, invalidated", stateOf(node->getVolume()));
    node->getVolume(false).setInfinite(true);
    line("volume out of date, setInfinite", stateOf(node->getVolume()));
    node->updateVolume();
    line("volume, setInfinite, updated", stateOf(node->getVolume()));
    node->getVolume(false).getInstance().setInfinite(true);
    node->getVolume(false).instanceChanged();
    node->updateVolume();
    line("volume, instance infinite, updated", stateOf(node->getVolume()));
    subRefCP(node);

    const BoxVolume box(0, 0, 0, 2, 2, 2);
    line("box holds its centre", box.intersect(Pnt3f(1, 1, 1)));
    line("box holds a point on its border", box.intersect(Pnt3f(2, 1, 1)));
    line("box holds its corner", box.intersect(Pnt3f(0, 0, 0)));
    line("box touches a box at a corner", box.intersect(BoxVolume(2, 2, 2, 3, 3, 3)));
    line("box meets a line", box.intersect(Line(Pnt3f(-1, 1, 1), Vec3f(1, 0, 0))));
    line("box is equal to a higher one", box == BoxVolume(0, 0, 0, 2, 2, 3));
    line("new box", stateOf(BoxVolume()));
    BoxVolume grown;
    grown.extendBy(Pnt3f(1, 2, 3));
    grown.extendBy(box);
    line("box, extended", textOf(grown.getMin()), textOf(grown.getMax()));
    Matrix matrix;
    matrix.setTransform(Vec3f(1, 2, 3), Quaternion(Vec3f(0, 0, 1), 0.5f));
    grown.transform(matrix);
    line("box, transformed", textOf(grown.getMin()), textOf(grown.getMax()));
    line("box, its volume", grown.getScalarVolume());
}

void printChanges() {
    Recorder changes;
    const NodePtr node = Node::create();
    changes.name(node, "node");
    line("changes: Node::create", changes.take());
    const GroupPtr core = Group::create();
    changes.name(core, "core");
    line("changes: Group::create", changes.take());
    const GeometryPtr empty = Geometry::create();
    changes.name(empty, "geometry");
    line("changes: Geometry::create", changes.take());
    addRefCP(node);
    line("changes: addRefCP", changes.take());
    node->setCore(core);
    line("changes: setCore", changes.take());
    node->setCore(empty);
    line("changes: setCore again", changes.take());
    const NodePtr child = Node::create();
    changes.name(child, "child");
    changes.take();
    node->addChild(child);
    line("changes: addChild", changes.take());
    node->updateVolume();
    line("changes: updateVolume", changes.take());
    node->updateVolume();
    line("changes: updateVolume again", changes.take());
    beginEditCP(child, Node::TravMaskFieldMask);
    child->setTravMask(1);
    endEditCP(child, Node::TravMaskFieldMask);
    line("changes: traversal mask of a child", changes.take());
    node->updateVolume();
    changes.take();
    beginEditCP(node, Node::TravMaskFieldMask);
    endEditCP(node, Node::TravMaskFieldMask);
    line("changes: traversal mask of a root", changes.take());
    setName(node, "name");
    changes.name(node->findAttachment(Name::getClassType()), "name");
    line("changes: setName", changes.take());
    setName(node, "other");
    line("changes: setName again", changes.take());
    const GeoTexCoords2fPtr texCoords = GeoTexCoords2f::create();
    changes.name(texCoords, "texCoords");
    changes.take();
    empty->setTexCoords(texCoords);
    line("changes: setTexCoords", changes.take());
    empty->setTexCoords(texCoords);
    line("changes: setTexCoords, the same", changes.take());
    line("references of the texture coordinates", getRefCount(texCoords), texCoords->getParents().size());
    const NodePtr moved = Node::create();
    changes.name(moved, "moved");
    addRefCP(moved);
    moved->addChild(Node::create());
    changes.take();
    moved->addChild(child);
    line("changes: child of another node", changes.take());
    moved->subChild(child);
    line("changes: subChild destroys", changes.take());
    subRefCP(node);
    subRefCP(moved);
    ChangeList* foreign = nullptr;
    std::thread([&] { foreign = Thread::getCurrentChangeList(); }).join();
    line("change list of a thread that it does not know", foreign == nullptr ? "none" : "some");
}

void printContainers() {
    const NodePtr node = makeNode(Group::create());
    addRefCP(node);
    node->setTravMask(5);
    setName(node, "name");
    const NodePtr copy = NodePtr::dcast(node->shallowCopy());
    line("copy of a node shares the core", copy->getCore() == node->getCore());
    line("copy of a node: mask", copy->getTravMask(), copy->getNChildren());
    line("copy of a node: name", getName(copy) == nullptr ? "none" : getName(copy));
    line("references of the shared core", getRefCount(node->getCore()), node->getCore()->getParents().size());
    const NodePtr clone = node->clone();
    line("clone of a node", clone->getCore() == node->getCore(), clone->getTravMask(), getName(clone) == nullptr);
    line("class Attachment creates", Attachment::create() == NullFC ? "null" : "one");
    line("active with mask 5", node->getActive());
    node->setActive(true);
    line("mask, active", node->getTravMask() == 0xffffffff);

    const NodePtr beacon = Node::create();
    addRefCP(beacon);
    const PointLightPtr light = PointLight::create();
    addRefCP(light);
    light->setBeacon(beacon);
    line("references of a beacon", getRefCount(beacon));
    line("new point light", light->getOn(), light->getConstantAttenuation(), light->getQuadraticAttenuation());
    line("new switch", Int32(Switch::create()->getChoice()));
    line("type names", node->getTypeName(), light->getTypeName(), SimpleMaterial::create()->getTypeName());
    line("a spot light is a point light", SpotLight::getClassType().isDerivedFrom(PointLight::getClassType()));
    line("dcast to another type", TransformPtr::dcast(node->getCore()) == NullFC);
    line("type of no name", FieldContainerFactory::the()->findType("NoSuchType") == nullptr);

    line("field ids: node", int(Node::VolumeFieldId), int(Node::CoreFieldId), int(Node::NextFieldId));
    line("field ids: attachment", int(Attachment::ParentsFieldId), int(Attachment::InternalFieldId));
    line("field ids: core", int(NodeCore::ParentsFieldId), int(Transform::MatrixFieldId));
    line("field ids: material", int(Material::SortKeyFieldId), int(ChunkMaterial::NextFieldId));
    line("field ids: simple material", int(SimpleMaterial::AmbientFieldId), int(SimpleMaterial::NextFieldId));
    line("field ids: geometry", int(Geometry::TypesFieldId), int(Geometry::IndexMappingFieldId));
    line("field ids: light", int(Light::AmbientFieldId), int(Light::NextFieldId), int(SpotLight::NextFieldId));
    const SimpleMaterialPtr material = SimpleMaterial::create();
    line("new simple material", textOf(material->getDiffuse()), material->getTransparency(), material->getLit(),
         material->getShininess(), material->isTransparent());
}

void printParts() {
    struct Case {
        const char* name;
        UInt8 type;
    };
    for (const Case& each :
         {Case{"points", GL_POINTS}, Case{"lines", GL_LINES}, Case{"line strip", GL_LINE_STRIP},
          Case{"line loop", GL_LINE_LOOP}, Case{"triangles", GL_TRIANGLES}, Case{"triangle strip", GL_TRIANGLE_STRIP},
          Case{"triangle fan", GL_TRIANGLE_FAN}, Case{"quad strip", GL_QUAD_STRIP}, Case{"polygon", GL_POLYGON}}) {
        const GeometryPtr geometry = makeRow({{each.type, 6}});
        const std::string name = each.name;
        line((name + ": triangles").c_str(), partsOf(geometry->beginTriangles(), geometry->endTriangles(), 3));
        line((name + ": faces").c_str(), partsOf(geometry->beginFaces(), geometry->endFaces(), 4));
        line((name + ": lines").c_str(), partsOf(geometry->beginLines(), geometry->endLines(), 2));
        line((name + ": edges").c_str(), partsOf(geometry->beginEdges(), geometry->endEdges(), 2));
        line((name + ": first index").c_str(), geometry->beginPrimitives().getIndexIndex(0));
    }
    const GeometryPtr quads = makeRow({{GL_QUADS, 8}, {GL_POLYGON, 4}, {GL_TRIANGLES, 3}});
    line("quads, polygon, triangle: triangles", partsOf(quads->beginTriangles(), quads->endTriangles(), 3));
    line("quads, polygon, triangle: faces", partsOf(quads->beginFaces(), quads->endFaces(), 4));
    const GeometryPtr strip = makeRow({{GL_TRIANGLE_STRIP, 8}});
    const GeoIndicesUI32Ptr indices = GeoIndicesUI32::create();
    for (const UInt32 index : {0, 1, 2, 2, 3, 3, 4, 5})
        indices->push_back(index);
    strip->setIndices(indices);
    line("stitched strip: triangles", partsOf(strip->beginTriangles(), strip->endTriangles(), 3));
    line("index of a corner, with indices", strip->beginTriangles().getIndexIndex(2));
    line("primitive's name", Geometry::mapType(GL_QUAD_STRIP), Geometry::mapType(200));
    UInt32 triangles = 0, lines = 0, points = 0;
    calcPrimitiveCount(quads, triangles, lines, points);
    line("counts of primitives", triangles, lines, points);
}

void printNumbers() {
    Real32 h = 0, s = 0, v = 0;
    for (const Color3f& color :
         {Color3f(1, 0, 0), Color3f(0.25f, 0.5f, 0.125f), Color3f(0.5f, 0.5f, 0.5f), Color3f(0.75f, 0, 0.5f)}) {
        color.getValuesHSV(h, s, v);
        Color3f back;
        back.setValuesHSV(h, s, v);
        line("hue, saturation, value", h, s, v, textOf(back));
    }
    Color3f color;
    color.setRGB(0x0080ff);
    line("packed colour", textOf(color));
    line("packed again", color.getRGB());
    line("equal colours", Color3f(0, 0, 0) == Color3f(5e-7f, 0, 0), Color3f(0, 0, 0) == Color3f(2e-6f, 0, 0));

    Vec3f a(1, 2, 3), b(-2, 0.5f, 4);
    line("vectors", a.dot(b), textOf(Pnt3f(a.cross(b).getValues())), a.length(), a.enclosedAngle(b));
    line("number by vector", textOf(Pnt3f((2.0f * a).getValues())), textOf(Pnt3f((a * 2.0f).getValues())));
    Vec3f projected(a);
    line("projected", projected.projectTo(b), textOf(Pnt3f(projected.getValues())));
    a.normalize();
    line("normalised", textOf(Pnt3f(a.getValues())));
    Vec3f zero;
    zero.normalize();
    line("normalised zero", textOf(Pnt3f(zero.getValues())));

    const Line ray(Pnt3f(1, 2, 3), Vec3f(1, 1, 0));
    line("point and line", ray.distance(Pnt3f(0, 0, 7)), textOf(ray.getClosestPoint(Pnt3f(5, 0, 7))));

    Matrix matrix;
    matrix.setTransform(Vec3f(1, 2, 3), Quaternion(Vec3f(1, 1, 0), 0.75f), Vec3f(1, 2, 0.5f));
    line("matrix", textOf(matrix));
    Matrix inverse;
    matrix.inverse(inverse);
    line("matrix, inverse", textOf(inverse));
    line("matrix, determinant", matrix.det());
    Matrix product(matrix);
    product.mult(inverse);
    line("matrix by its inverse is the identity", product.equals(Matrix(), 1e-5f));
    Pnt3f point;
    matrix.multMatrixPnt(Pnt3f(1, 1, 1), point);
    Vec3f turned;
    matrix.multMatrixVec(Vec3f(1, 1, 1), turned);
    line("matrix by point and vector", textOf(point), textOf(Pnt3f(turned.getValues())));
    line("new matrix", textOf(Matrix()));
}

void printTraversal() {
    const NodePtr root = makeNode(Group::create());
    addRefCP(root);
    for (int i = 0; i < 3; ++i) {
        const NodePtr child = makeNode(Transform::create());
        child->addChild(makeNode(Group::create()));
        root->addChild(child);
    }
    struct Visitor {
        int entered = 0, left = 0, skipAt = -1, quitAt = -1;
        Action::ResultE enter(NodePtr&) {
            ++entered;
            return entered == quitAt ? Action::Quit : entered == skipAt ? Action::Skip : Action::Continue;
        }
        Action::ResultE leave(NodePtr&, Action::ResultE result) {
            ++left;
            return result;
        }
    };
    for (const int at : {-1, 1, 3}) {
        Visitor skipping, quitting;
        skipping.skipAt = quitting.quitAt = at;
        for (Visitor* visitor : {&skipping, &quitting}) {
            const Action::ResultE result = traverse(
                root, osgTypedMethodFunctor1ObjPtrCPtrRef<Action::ResultE, Visitor, NodePtr>(visitor, &Visitor::enter),
                osgTypedMethodFunctor2ObjPtrCPtrRef<Action::ResultE, Visitor, NodePtr, Action::ResultE>(
                    visitor, &Visitor::leave));
            line("traversal", visitor == &skipping ? "skip at" : "quit at", at, visitor->entered, visitor->left,
                 int(result));
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    osgInit(argc, argv);
    printVolumes();
    printChanges();
    printContainers();
    printParts();
    printNumbers();
    printTraversal();
    printTrees();
    printProperties();
    printGeometry();
    printTransforms();
    return 0;
}
