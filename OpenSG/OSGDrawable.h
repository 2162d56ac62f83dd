// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGDRAWABLE_H
#define OSGDRAWABLE_H

#include "OSGNodeCore.h"

OSG_BEGIN_NAMESPACE

class Drawable;
typedef FCPtr<NodeCorePtr, Drawable> DrawablePtr;
typedef RefPtr<DrawablePtr> DrawableRefPtr;

/// A core that can be drawn. Abstract.
class Drawable : public NodeCore {
    typedef NodeCore Inherited;

public:
    typedef DrawablePtr Ptr;

    OSG_ABSTR_FIELD_CONTAINER_DECL(DrawablePtr)

protected:
    Drawable() = default;
    Drawable(const Drawable& source) : Inherited(source) {}
    ~Drawable() override = default;

    static FieldContainerType _type;

private:
    friend class FieldContainer;
};

OSG_ABSTR_FIELD_CONTAINER_INL_DEF(Drawable, DrawablePtr)

OSG_END_NAMESPACE

#endif
