// SPDX-License-Identifier: LGPL-2.1-or-later
// Starts an installed OpenSG before the tests of a program: it creates no container earlier.
#include <gtest/gtest.h>
#include <OpenSG/OSGBaseFunctions.h>

namespace {

class StartOpenSG : public testing::Environment {
    void SetUp() override { osg::osgInit(0, nullptr); }
};

[[maybe_unused]] const testing::Environment* const start = testing::AddGlobalTestEnvironment(new StartOpenSG);

} // namespace
