// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds trees: links nodes to parents, children and cores, and updates bounding volumes and matrices.
#include "OSGNode.h"

#include "OSGLog.h"

#include <vector>

OSG_BEGIN_NAMESPACE

OSG_FIELD_MASK_DEF(Node, VolumeField)
OSG_FIELD_MASK_DEF(Node, TravMaskField)
OSG_FIELD_MASK_DEF(Node, ParentField)
OSG_FIELD_MASK_DEF(Node, ChildrenField)
OSG_FIELD_MASK_DEF(Node, CoreField)

FieldContainerType Node::_type("Node", "AttachmentContainer", nullptr,
                               []() -> FieldContainerPtr { return Node::createEmpty(); });

OSG_FIELD_CONTAINER_DEF(Node, NodePtr)

Node::Node() : _sfTravMask(TypeTraits<UInt32>::getMax()) {}

Node::Node(const Node& source) : Inherited(source), _sfVolume(source._sfVolume), _sfTravMask(source._sfTravMask) {}

void Node::onCreate(const Node* source) {
    Inherited::onCreate(source);
    if (source != nullptr)
        setCore(source->getCore());
}

Node::~Node() {
    if (const NodeCorePtr core = getCore(); core != NullFC) {
        beginEditCP(core, NodeCore::ParentsFieldMask);
        core->subParent(NodePtr(this));
        endEditCP(core, NodeCore::ParentsFieldMask);
        subRefCP(core);
    }
    for (const NodePtr& child : _mfChildren) {
        child->setParent(NullFC);
        subRefCP(child);
    }
}

void Node::setCore(const NodeCorePtr& core) {
    // A copy, because core may refer to something that only the old core keeps alive.
    const NodeCorePtr newCore = core;
    const NodeCorePtr oldCore = getCore();
    addRefCP(newCore);
    if (oldCore != NullFC) {
        beginEditCP(oldCore, NodeCore::ParentsFieldMask);
        oldCore->subParent(NodePtr(this));
        endEditCP(oldCore, NodeCore::ParentsFieldMask);
    }
    _sfCore.setValue(newCore);
    if (newCore != NullFC) {
        beginEditCP(newCore, NodeCore::ParentsFieldMask);
        newCore->addParent(NodePtr(this));
        endEditCP(newCore, NodeCore::ParentsFieldMask);
    }
    subRefCP(oldCore);
    invalidateVolume();
}

void Node::setParent(const NodePtr& parent) {
    const NodePtr self(this);
    beginEditCP(self, ParentFieldMask);
    _sfParent.setValue(parent);
    endEditCP(self, ParentFieldMask);
}

void Node::takeFromParent(const NodePtr& child) {
    const NodePtr parent = child->getParent();
    if (parent == NullFC)
        return;
    beginEditCP(parent, ChildrenFieldMask);
    parent->subChild(child);
    endEditCP(parent, ChildrenFieldMask);
}

Int32 Node::findChild(const NodePtr& child) const {
    const auto found = _mfChildren.find(child);
    return found != _mfChildren.end() ? Int32(found - _mfChildren.begin()) : -1;
}

void Node::addChild(const NodePtr& child) {
    insertChild(TypeTraits<UInt32>::getMax(), child);
}

void Node::insertChild(const UInt32 index, const NodePtr& childP) {
    const NodePtr child = childP;
    if (child == NullFC)
        return;
    addRefCP(child);
    takeFromParent(child);
    _mfChildren.insert(_mfChildren.begin() + osgMin(index, getNChildren()), child);
    child->setParent(NodePtr(this));
    invalidateVolume();
}

void Node::replaceChild(const UInt32 index, const NodePtr& child) {
    if (index < getNChildren())
        replaceChildBy(getChild(index), child);
}

bool Node::replaceChildBy(const NodePtr& childP, const NodePtr& newChildP) {
    const NodePtr child = childP;
    const NodePtr newChild = newChildP;
    if (newChild == NullFC || findChild(child) < 0)
        return false;
    if (newChild == child)
        return true;
    addRefCP(newChild);
    takeFromParent(newChild);
    // Look up the index only now: newChild may have been another child of this node.
    _mfChildren[UInt32(findChild(child))] = newChild;
    newChild->setParent(NodePtr(this));
    child->setParent(NullFC);
    subRefCP(child);
    invalidateVolume();
    return true;
}

void Node::subChild(const NodePtr& child) {
    const Int32 index = findChild(child);
    if (index < 0)
        logWarning("Node::subChild: node %u is no child of node %u", unsigned(child.getFieldContainerId()),
                   unsigned(NodePtr(this).getFieldContainerId()));
    else
        subChild(UInt32(index));
}

void Node::subChild(const UInt32 index) {
    if (index >= getNChildren())
        return;
    const NodePtr child = getChild(index);
    _mfChildren.erase(_mfChildren.begin() + index);
    child->setParent(NullFC);
    subRefCP(child);
    invalidateVolume();
}

Matrix Node::getToWorld() const {
    Matrix result;
    getToWorld(result);
    return result;
}

void Node::getToWorld(Matrix& result) const {
    // The product runs from the root down, but links lead up.
    std::vector<NodeCore*> path;
    path.reserve(32);
    for (const Node* node = this; node != nullptr; node = node->getParent().getCPtr())
        if (NodeCore* const core = node->getCore().getCPtr())
            path.push_back(core);
    result.setIdentity();
    for (auto core = path.rbegin(); core != path.rend(); ++core)
        (*core)->accumulateMatrix(result);
}

DynamicVolume& Node::getVolume(const bool update) {
    if (update)
        updateVolume();
    return _sfVolume.getValue();
}

void Node::getWorldVolume(DynamicVolume& result) {
    updateVolume();
    result = getVolume();
    if (getParent() != NullFC)
        result.transform(getParent()->getToWorld());
}

void Node::updateVolume() {
    const auto outOfDate = [](const NodePtr& node) {
        return !node->getVolume().getInstance().isValid() && node->getTravMask() != 0;
    };
    if (!outOfDate(NodePtr(this)))
        return;
    // Children before parents. An explicit stack, because trees may be deep.
    struct Frame {
        Node* node;
        UInt32 nextChild;
    };
    std::vector<Frame> stack(1, Frame{this, 0});
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.nextChild < frame.node->getNChildren()) {
            const NodePtr child = frame.node->getChild(frame.nextChild++);
            if (outOfDate(child))
                stack.push_back(Frame{child.getCPtr(), 0});
        } else {
            Node* const node = frame.node;
            stack.pop_back();
            node->updateOwnVolume();
        }
    }
}

void Node::updateOwnVolume() {
    DynamicVolume dynamicVolume = getVolume();
    Volume& volume = dynamicVolume.getInstance();
    volume.setEmpty();
    for (const NodePtr& child : _mfChildren)
        if (child->getTravMask() != 0)
            volume.extendBy(child->getVolume().getInstance());
    if (getCore() != NullFC)
        getCore()->adjustVolume(volume);

    const NodePtr self(this);
    beginEditCP(self, VolumeFieldMask);
    _sfVolume.setValue(dynamicVolume);
    endEditCP(self, VolumeFieldMask);
}

void Node::invalidateVolume() {
    for (Node* node = this; node != nullptr; node = node->getParent().getCPtr()) {
        DynamicVolume& dynamicVolume = node->_sfVolume.getValue();
        Volume& volume = dynamicVolume.getInstance();
        if (!volume.isValid() || volume.isStatic())
            return;
        const NodePtr self(node);
        beginEditCP(self, VolumeFieldMask);
        volume.setValid(false);
        dynamicVolume.instanceChanged();
        endEditCP(self, VolumeFieldMask);
    }
}

void Node::changed(const BitVector whichField, const UInt32 origin) {
    Inherited::changed(whichField, origin);
    if (whichField & (CoreFieldMask | ChildrenFieldMask))
        invalidateVolume();
    if (whichField & TravMaskFieldMask) {
        if (getParent() != NullFC) {
            beginEditCP(getParent(), VolumeFieldMask);
            getParent()->invalidateVolume();
            endEditCP(getParent(), VolumeFieldMask);
        } else {
            invalidateVolume();
        }
    }
}

NodePtr Node::clone() const {
    return cloneTree(NodePtr(this));
}

NodePtr makeNodeFor(const NodeCorePtr core) {
    if (core == NullFC)
        return NullFC;
    const NodePtr node = Node::create();
    beginEditCP(node, Node::CoreFieldMask);
    node->setCore(core);
    endEditCP(node, Node::CoreFieldMask);
    return node;
}

namespace {

NodePtr cloneNode(const NodePtr& source) {
    const NodePtr node = Node::create();
    node->setTravMask(source->getTravMask());
    node->setCore(source->getCore());
    return node;
}

} // namespace

NodePtr cloneTree(const NodePtr& root) {
    if (root == NullFC)
        return NullFC;
    struct Frame {
        NodePtr source;
        NodePtr clone;
        UInt32 nextChild;
    };
    const NodePtr result = cloneNode(root);
    try {
        std::vector<Frame> stack(1, Frame{root, result, 0});
        while (!stack.empty()) {
            Frame& frame = stack.back();
            if (frame.nextChild < frame.source->getNChildren()) {
                const NodePtr child = frame.source->getChild(frame.nextChild++);
                const NodePtr clone = cloneNode(child);
                frame.clone->addChild(clone);
                stack.push_back(Frame{child, clone, 0});
            } else {
                endEditCP(frame.clone);
                stack.pop_back();
            }
        }
    } catch (...) {
        subRefCP(result); // memory ran out
        throw;
    }
    return result;
}

OSG_END_NAMESPACE
