// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGTHREAD_H
#define OSGTHREAD_H

#include "OSGBaseTypes.h"

OSG_BEGIN_NAMESPACE

class ChangeList;

/// Per-thread data of the scene graph.
///
/// Any thread may use containers without registration. All threads see the same state of a container (one aspect,
/// number 0). Change lists exist only in the thread that loaded the library, in the one that called osgInit(), and in
/// those that called ExternalThread::initialize().
class Thread {
public:
    /// The calling thread's list, owned by the thread. nullptr if it has none, and while it is ending.
    static ChangeList* getCurrentChangeList();
    static UInt32 getAspect() { return 0; }
};

/// A thread that the application started, and that shall have a change list. Objects are owned by the library and live
/// as long as the process.
class ExternalThread {
public:
    /// The object of that name; made if there is none yet. Null is the same as an empty name. Thread-safe.
    static ExternalThread* get(const Char8* name);
    /// The same; nullptr if there is none yet.
    static ExternalThread* find(const Char8* name);

    /// Call it in the thread itself, once. All aspects are the same here.
    void initialize(UInt32 aspectId);

private:
    ExternalThread() = default;
};

OSG_END_NAMESPACE

#endif
