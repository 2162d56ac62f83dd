// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGTHREAD_H
#define OSGTHREAD_H

#include "OSGBaseTypes.h"

OSG_BEGIN_NAMESPACE

class ChangeList;

/// Per-thread data of the scene graph. Any thread may use it without registration.
///
/// All threads see the same state of a container (one aspect, number 0).
class Thread {
public:
    /// The calling thread's list, owned by the thread. nullptr only while the thread is ending.
    static ChangeList* getCurrentChangeList();
    static UInt32 getAspect() { return 0; }
};

OSG_END_NAMESPACE

#endif
