// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <gtest/gtest.h>
#include <OpenSG/OSGBaseFunctions.h>
#include <OpenSG/OSGChangeList.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGRefPtr.h>
#include <OpenSG/OSGThread.h>

/// For tests of change lists: records the test's own changes.
class Changes : public testing::Test {
protected:
    Changes() : list(*osg::Thread::getCurrentChangeList()) {
        // The first container of a class creates the class's prototype, which would be recorded as well.
        osg::osgInit(0, nullptr);
        node = osg::Node::create();
        list.setReadOnly(false);
        list.clearAll();
    }
    ~Changes() override {
        list.setReadOnly(true);
        list.clearAll();
    }

    /// Mask of all announced fields of the container.
    osg::BitVector changesOf(const osg::FieldContainerPtr& container) const {
        osg::BitVector fields = 0;
        for (auto entry = list.beginChanged(); entry != list.endChanged(); ++entry)
            if (entry->first == container.getFieldContainerId())
                fields |= entry->second;
        return fields;
    }

    osg::ChangeList& list;
    osg::RefPtr<osg::NodePtr> node;
};
