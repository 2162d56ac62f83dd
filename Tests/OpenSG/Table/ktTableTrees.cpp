// SPDX-License-Identifier: LGPL-2.1-or-later
// The table's lines of trees: children, attachments, references, matrices and volumes below others, traversals.
#include "ktTable.h"

#include <OpenSG/OSGAction.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGSimpleMaterial.h>
#include <OpenSG/OSGSwitch.h>
#include <OpenSG/OSGTransform.h>
#include <thread>

namespace ktTable {
namespace {

/// A group with referenced children that are called a, b, c, ...
struct Family {
    explicit Family(const UInt32 count) : root(makeNode(Group::create())) {
        addRefCP(root);
        for (UInt32 i = 0; i < count; ++i)
            root->addChild(make());
    }
    ~Family() {
        for (const NodePtr& each : all)
            subRefCP(each);
        subRefCP(root);
    }
    NodePtr make() {
        all.push_back(makeNode(Group::create()));
        addRefCP(all.back());
        return all.back();
    }
    std::string order() const {
        std::string text;
        for (UInt32 i = 0; i < root->getNChildren(); ++i)
            text += nameOf(root->getChild(i));
        return text;
    }
    char nameOf(const NodePtr& node) const {
        for (std::size_t i = 0; i < all.size(); ++i)
            if (all[i] == node)
                return char('a' + i);
        return node == root ? '^' : '?';
    }

    NodePtr root;
    std::vector<NodePtr> all;
};

void printChildren() {
    Family family(4);
    const NodePtr root = family.root;
    line("children", family.order());
    root->insertChild(1, family.make());
    line("children, one inserted at 1", family.order());
    root->insertChild(root->getNChildren(), family.make());
    line("children, one inserted at the end", family.order());
    root->replaceChild(0, family.make());
    line("children, the first replaced", family.order(), family.all[0]->getParent() == NullFC);
    line("children, b replaced", root->replaceChildBy(family.all[1], family.all[0]), family.order());
    line("no child replaced", root->replaceChildBy(family.all[1], family.all[1]), family.order());
    root->addChild(family.all[0]);
    line("children, one added again", family.order(), getRefCount(family.all[0]));
    root->subChild(UInt32(1));
    line("children, without that at 1", family.order());
    root->subChild(family.all[2]);
    line("children, without c", family.order(), getRefCount(family.all[2]));
    line("child of another", root->findChild(family.all[3]), root->findChild(family.all[2]));
    const NodePtr inner = family.all[3];
    inner->addChild(family.all[0]);
    line("child moved down", family.order(), family.nameOf(family.all[0]->getParent()));
    line("parent of the root", root->getParent() == NullFC);
    line("references of a child", getRefCount(family.all[3]), getRefCount(family.all[0]), getRefCount(root));
}

void printAttachments() {
    const NodePtr node = makeNode(Group::create());
    addRefCP(node);
    const NamePtr first = Name::create(), second = Name::create();
    addRefCP(first);
    addRefCP(second);
    node->addAttachment(first);
    line("attachment found", node->findAttachment(Name::getClassType()) == first, getRefCount(first));
    node->addAttachment(first);
    line("attachment added again", getRefCount(first), first->getParents().size());
    node->addAttachment(second);
    line("attachment of the same group", node->findAttachment(Name::getClassType()) == second, getRefCount(first),
         first->getParents().size());
    node->addAttachment(first, 1);
    line("attachment of another binding", node->findAttachment(Name::getClassType(), 1) == first,
         node->findAttachment(Name::getClassType()) == second, node->findAttachment(Name::getClassType(), 2) == NullFC);
    node->subAttachment(second);
    line("attachment removed", node->findAttachment(Name::getClassType()) == NullFC, getRefCount(second));
    node->subAttachment(first);
    line("attachment of another binding, removed at 0", node->findAttachment(Name::getClassType(), 1) == first);
    setName(node, "name");
    setName(node, static_cast<const Char8*>(nullptr));
    line("name of null", getName(node) == nullptr);
    setName(node, "");
    line("empty name", getName(node) == nullptr ? "none" : getName(node));
    subRefCP(node);
    line("references of attachments, node gone", getRefCount(first), getRefCount(second));
    subRefCP(first);
    subRefCP(second);
}

void printReferences() {
    const GroupPtr core = Group::create();
    line("references of a new core", getRefCount(core));
    {
        const NodeRefPtr held(makeNode(core));
        line("references of a node that is held", getRefCount(held.get()), getRefCount(core));
        NodeRefPtr again = held;
        line("references of a node that is held twice", getRefCount(held.get()));
        again = NullFC;
        line("references of a node, one holder gone", getRefCount(held.get()));
    }
    const GroupPtr shared = Group::create();
    std::vector<NodePtr> nodes;
    for (int i = 0; i < 3; ++i) {
        nodes.push_back(makeNode(shared));
        addRefCP(nodes.back());
    }
    line("core of three nodes", getRefCount(shared), shared->getParents().size());
    nodes[2]->setCore(NullFC);
    line("core of two nodes", getRefCount(shared), shared->getParents().size());
    line("node without a core", nodes[2]->getCore() == NullFC);
    for (const NodePtr& each : nodes)
        subRefCP(each);

    const MaterialGroupPtr group = MaterialGroup::create();
    const NodePtr holder = makeNode(group);
    addRefCP(holder);
    const SimpleMaterialPtr material = SimpleMaterial::create();
    addRefCP(material);
    group->setMaterial(material);
    line("references of a group's material", getRefCount(material));
    group->setMaterial(material);
    line("references of the same material, set again", getRefCount(material));
    const GeometryPtr geometry = Geometry::create();
    addRefCP(geometry);
    geometry->setMaterial(material);
    line("references of two users' material", getRefCount(material));
    geometry->setMaterial(NullFC);
    subRefCP(holder);
    line("references of nobody's material", getRefCount(material));
    subRefCP(material);
    subRefCP(geometry);

    FieldContainerFactory* factory = FieldContainerFactory::the();
    line("type by name", factory->findType("Transform") == &Transform::getClassType());
    line("its parent's name", Transform::getClassType().getParent()->getCName());
    line("created by name", TransformPtr::dcast(factory->createNodeCore("Transform")) != NullFC,
         factory->createNode("Node") != NullFC, factory->createNodeCore("NoSuchType") == NullFC,
         factory->createNodeCore("Node") == NullFC, factory->createAttachment("Name") != NullFC);
    line("derived", Transform::getClassType().isDerivedFrom(Group::getClassType()),
         Group::getClassType().isDerivedFrom(Transform::getClassType()), Transform::getClassType().isNodeCore(),
         Node::getClassType().isNode(), Name::getClassType().isDerivedFrom(Attachment::getClassType()));
    line("abstract", NodeCore::getClassType().isAbstract(), Group::getClassType().isAbstract());
}

TransformPtr makeTransform(const Vec3f& translation, const Real32 angle, const Vec3f& scale) {
    const TransformPtr transform = Transform::create();
    Matrix matrix;
    matrix.setTransform(translation, Quaternion(Vec3f(0, 1, 0), angle), scale);
    beginEditCP(transform, Transform::MatrixFieldMask);
    transform->setMatrix(matrix);
    endEditCP(transform, Transform::MatrixFieldMask);
    return transform;
}

std::string boundsOf(const DynamicVolume& volume) {
    Pnt3f low, high;
    volume.getBounds(low, high);
    for (UInt32 i = 0; i < 3; ++i) {
        low[i] = std::round(low[i] * 1e4f) / 1e4f + 0.0f;
        high[i] = std::round(high[i] * 1e4f) / 1e4f + 0.0f;
    }
    return textOf(low) + textOf(high) + stateOf(volume);
}

void printSpaces() {
    const NodePtr root = makeNode(makeTransform(Vec3f(1, 2, 3), 0.5f, Vec3f(1, 1, 1)));
    addRefCP(root);
    const NodePtr middle = makeNode(makeTransform(Vec3f(0, 0, 10), 0, Vec3f(2, 3, 4)));
    root->addChild(middle);
    const NodePtr leaf = makeNode(makeRow({{GL_POINTS, 5}}));
    middle->addChild(leaf);
    line("world matrix of a leaf", five(leaf->getToWorld()));
    line("world matrix of a root", five(root->getToWorld()));
    line("world matrix of a node without a core", five(Node::create()->getToWorld()));
    DynamicVolume world;
    leaf->getWorldVolume(world);
    line("world volume of a leaf", boundsOf(world));
    root->updateVolume();
    line("volume of a root", boundsOf(root->getVolume()));
    line("volume between", boundsOf(middle->getVolume()));
    TransformPtr::dcast(middle->getCore())->getMatrix()[3][0] = 100;
    line("volume after a change without an announcement", boundsOf(root->getVolume(true)));
    beginEditCP(middle->getCore(), Transform::MatrixFieldMask);
    endEditCP(middle->getCore(), Transform::MatrixFieldMask);
    line("volumes after the announcement", stateOf(root->getVolume()), stateOf(middle->getVolume()),
         stateOf(leaf->getVolume()));
    line("volume of a root, updated", boundsOf(root->getVolume(true)));
    beginEditCP(leaf, Node::TravMaskFieldMask);
    leaf->setTravMask(0);
    endEditCP(leaf, Node::TravMaskFieldMask);
    line("volume without an invisible child", boundsOf(middle->getVolume(true)));
    beginEditCP(leaf, Node::TravMaskFieldMask);
    leaf->setTravMask(4);
    endEditCP(leaf, Node::TravMaskFieldMask);
    line("volume with a child that some see", boundsOf(middle->getVolume(true)));
    const SwitchPtr choice = Switch::create();
    beginEditCP(middle, Node::CoreFieldMask);
    middle->setCore(choice);
    endEditCP(middle, Node::CoreFieldMask);
    line("volume of a switch that shows nothing", boundsOf(middle->getVolume(true)));
    beginEditCP(choice, Switch::ChoiceFieldMask);
    choice->setChoice(0);
    endEditCP(choice, Switch::ChoiceFieldMask);
    line("volume of a switch that shows its child", boundsOf(middle->getVolume(true)));
    subRefCP(root);
}

void printTraversals() {
    Family family(3);
    struct Visitor {
        const Family* family;
        std::string names;
        Action::ResultE enter(NodePtr& node) {
            names += family->nameOf(node);
            return Action::Continue;
        }
    };
    const auto visit = [&](const NodePtr& from) {
        Visitor visitor{&family, {}};
        traverse(from,
                 osgTypedMethodFunctor1ObjPtrCPtrRef<Action::ResultE, Visitor, NodePtr>(&visitor, &Visitor::enter));
        return visitor.names;
    };
    family.all[1]->addChild(family.make());
    line("order of a traversal", visit(family.root));
    family.all[1]->setTravMask(0);
    line("traversal of a node with mask 0", visit(family.root));
    for (const Int32 choice : {-1, -2, 0, 2, 3}) {
        const SwitchPtr core = Switch::create();
        core->setChoice(choice);
        family.root->setCore(core);
        line("traversal of a switch", choice, visit(family.root));
    }
    family.root->setCore(NullFC);
    line("traversal of a node without a core", visit(family.root));
    std::vector<NodePtr> list{family.all[2], family.all[0]};
    Visitor visitor{&family, {}};
    traverse(list, osgTypedMethodFunctor1ObjPtrCPtrRef<Action::ResultE, Visitor, NodePtr>(&visitor, &Visitor::enter));
    line("traversal of a list", visitor.names);
}

void printClones() {
    const NodePtr root = makeNode(Transform::create());
    addRefCP(root);
    setName(root, "root");
    root->setTravMask(6);
    root->addChild(makeNode(makeRow({{GL_TRIANGLES, 3}})));
    setName(root->getChild(0), "leaf");
    const NodePtr clone = cloneTree(root);
    addRefCP(clone);
    line("clone of a tree", clone->getNChildren(), clone->getTravMask(), clone->getCore() == root->getCore(),
         clone->getChild(0)->getCore() == root->getChild(0)->getCore());
    line("names of a clone", getName(clone) == nullptr, getName(clone->getChild(0)) == nullptr);
    line("references of a clone", getRefCount(clone), getRefCount(clone->getChild(0)), getRefCount(root->getCore()));
    line("parent of a clone", clone->getParent() == NullFC);
    subRefCP(clone);
    line("references of a core, clone gone", getRefCount(root->getCore()));
    line("node for a core", makeNodeFor(Group::create())->getCore() != NullFC);
    subRefCP(root);
}

void printThreads() {
    ExternalThread* thread = ExternalThread::get("worker");
    line("thread by name", thread == ExternalThread::get("worker"), thread == ExternalThread::find("worker"),
         ExternalThread::find("nobody") == nullptr);
    bool hasList = false;
    UInt32 aspect = 9;
    std::thread([&] {
        thread->initialize(0);
        hasList = Thread::getCurrentChangeList() != nullptr;
        aspect = Thread::getAspect();
    }).join();
    line("change list of a thread that it knows", hasList, aspect);
    line("aspect", Thread::getAspect());
}

} // namespace

void printTrees() {
    printChildren();
    printAttachments();
    printReferences();
    printSpaces();
    printTraversals();
    printClones();
    printThreads();
}

} // namespace ktTable
