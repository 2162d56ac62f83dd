// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktAmbientOcclusion.h"
#include "ktRecordingApplication.h"
#include "ktRecordingHost.h"
#include "ktRecordingRaytracing.h"
#include "ktUndoStack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

/// Access to private members of the controller.
struct ktAmbientOcclusionAccess {
    static ktAmbientOcclusion* make() { return new ktAmbientOcclusion; }
    static void destroy(ktAmbientOcclusion* controller) { delete controller; }

#define KT_ACCESS(member)                                                                                              \
    static auto& member(ktAmbientOcclusion& controller) {                                                              \
        return controller.member;                                                                                      \
    }
    KT_ACCESS(directOption)
    KT_ACCESS(directSampleCountU)
    KT_ACCESS(directSampleCountV)
    KT_ACCESS(gatherSampleCount)
    KT_ACCESS(threadCount)
    KT_ACCESS(directThreshold)
    KT_ACCESS(indirectThreshold)
    KT_ACCESS(refineDirect)
    KT_ACCESS(refineIndirect)
    KT_ACCESS(calculating)
    KT_ACCESS(keepRunning)
    KT_ACCESS(directSampler)
    KT_ACCESS(gatherSampler)
    KT_ACCESS(presets)
    KT_ACCESS(geometryNodes)
    KT_ACCESS(occluderNodes)
    KT_ACCESS(visibleGeometryNodes)
    KT_ACCESS(visibleLightNodes)
    KT_ACCESS(missingOnly)
    KT_ACCESS(passOption)
    KT_ACCESS(subdivisionLists)
    KT_ACCESS(progressCounter)
#undef KT_ACCESS
};

/// Records every signal of the controller in the recording host's log, as "signal name(arguments)".
void recordSignals(ktAmbientOcclusion& controller);

/// A new controller in a reset recording host, with a clock that only tests advance.
class ktControllerFixture : public testing::Test {
protected:
    using Access = ktAmbientOcclusionAccess;
    using Controller = ktAmbientOcclusion;

    ktControllerFixture();
    ~ktControllerFixture() override;

    /// Keeps a node alive until the end of the test and returns it.
    osg::NodePtr keep(const osg::NodePtr& node);
    /// The clock, microseconds.
    static std::int64_t& now_us();

    ktRecordingHost& host = ktRecordingHost::the();
    ktRecordingRaytracing& raytracing = ktRecordingRaytracing::the();
    std::unique_ptr<Controller, void (*)(Controller*)> owner;
    Controller& controller;
    ktUndoStack& undoStack = *ktUndoStack::get(0);
    std::vector<std::string>& log = host.log;

private:
    std::vector<osg::NodePtr> kept;
    ktRecordingOutput output;
};
