// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGDYNAMICVOLUME_H
#define OSGDYNAMICVOLUME_H

#include "OSGBoxVolume.h"

OSG_BEGIN_NAMESPACE

/// The volume of a node. Always a box. The class exists for compatibility with OpenSG 1.x.
class DynamicVolume : public BoxVolume {
public:
    enum Type { BOX_VOLUME };

    using BoxVolume::BoxVolume;

    Type getType() const { return BOX_VOLUME; }
    Volume& getInstance() { return *this; }
    const Volume& getInstance() const { return *this; }
    void instanceChanged() {}
};

OSG_END_NAMESPACE

#endif
