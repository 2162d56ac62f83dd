// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGFieldContainer.h>
#include <OpenSG/OSGThread.h>
#include <vector>

/// Records the changes that are announced during its lifetime, from the thread's change list.
class ktChangeRecorder {
public:
    ktChangeRecorder() {
        osg::Thread::getCurrentChangeList()->clearAll();
        osg::Thread::getCurrentChangeList()->setReadOnly(false); // a read-only list records nothing
    }
    ~ktChangeRecorder() {
        osg::Thread::getCurrentChangeList()->setReadOnly(true);
        osg::Thread::getCurrentChangeList()->clearAll();
    }
    ktChangeRecorder(const ktChangeRecorder&) = delete;
    ktChangeRecorder& operator=(const ktChangeRecorder&) = delete;

    /// The masks announced for the container so far, in order.
    std::vector<osg::BitVector> masksOf(const osg::FieldContainerPtr& container) const {
        std::vector<osg::BitVector> masks;
        osg::ChangeList* const list = osg::Thread::getCurrentChangeList();
        for (auto entry = list->beginChanged(); entry != list->endChanged(); ++entry)
            if (entry->first == osg::getContainerId(container))
                masks.push_back(entry->second);
        return masks;
    }
};
