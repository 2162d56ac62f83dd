// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGDYNAMICVOLUME_H
#define OSGDYNAMICVOLUME_H

#include "OSGBoxVolume.h"

OSG_BEGIN_NAMESPACE

/// The volume of a node. Always a box, its instance.
///
/// As in OpenSG 1.x, the dynamic volume has a second state beside that of its instance. setValid() and the like, called
/// on the dynamic volume, change only the second one; instanceChanged() sets it to the state of the instance again. An
/// update of the node looks at the instance: call getInstance().setInfinite() to make a node's volume infinite.
class DynamicVolume : public BoxVolume {
public:
    enum Type { BOX_VOLUME };

    using BoxVolume::BoxVolume;
    DynamicVolume() = default;
    DynamicVolume(const DynamicVolume&) = default;
    DynamicVolume& operator=(const DynamicVolume& source) {
        BoxVolume::operator=(source);
        instanceChanged();
        return *this;
    }

    Type getType() const { return BOX_VOLUME; }
    Volume& getInstance() { return *this; }
    const Volume& getInstance() const { return *this; }
    void instanceChanged() { _own.setState(BoxVolume::getState()); }

    void setValid(const bool value = true) { _own.setValid(value); }
    bool isValid() const { return _own.isValid(); }
    void setEmpty(const bool value = true) { _own.setEmpty(value); }
    bool isEmpty() const { return _own.isEmpty(); }
    void setStatic(const bool value = true) { _own.setStatic(value); }
    bool isStatic() const { return _own.isStatic(); }
    void setInfinite(const bool value = true) { _own.setInfinite(value); }
    bool isInfinite() const { return _own.isInfinite(); }
    bool isUntouchable() const { return _own.isUntouchable(); }
    UInt16 getState() const { return _own.getState(); }
    void setState(const UInt16 state) { _own.setState(state); }

    // As in BoxVolume.
    template <class... ArgumentsT>
    void setBounds(ArgumentsT... arguments) {
        BoxVolume::setBounds(arguments...);
        instanceChanged();
    }
    void setBoundsByCenterAndSize(const Pnt3f& center, const Vec3f& size) {
        BoxVolume::setBoundsByCenterAndSize(center, size);
        instanceChanged();
    }
    void extendBy(const Pnt3f& pt) override {
        BoxVolume::extendBy(pt);
        instanceChanged();
    }
    void extendBy(const Volume& volume) override {
        BoxVolume::extendBy(volume);
        instanceChanged();
    }
    void transform(const Matrix& matrix) override {
        BoxVolume::transform(matrix);
        instanceChanged();
    }

private:
    VolumeState _own = static_cast<const VolumeState&>(*this);
};

OSG_END_NAMESPACE

#endif
