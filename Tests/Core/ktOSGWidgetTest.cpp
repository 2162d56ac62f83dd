// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the state of the render widget that plug-ins see, and its signals.
#include "ktOSGWidget.h"

#include "ktHostSignals.h"
#include "ktOSGWidgetState.h"

#include <gmock/gmock.h>
#include <vector>

TEST(OSGWidget, GivenNothingSet_DrawsWithoutWindowsAndRays) {
    EXPECT_TRUE(ktOSGWidget::isRenderEnabled());
    EXPECT_EQ(ktOSGWidget::getRaytracing(), 0);
    EXPECT_EQ(ktOSGWidget::getMGLWCount(), 0);
}

TEST(OSGWidget, GivenRenderOffAndOn_RemembersAndAnnouncesChangesOnly) {
    QObject receiver;
    std::vector<bool> announced;
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::renderEnabledChanged, &receiver,
                     [&](bool enabled) { announced.push_back(enabled); });
    ktOSGWidget::enableRender(false);
    ktOSGWidget::enableRender(false);
    EXPECT_FALSE(ktOSGWidget::isRenderEnabled());
    ktOSGWidget::enableRender(true);
    EXPECT_TRUE(ktOSGWidget::isRenderEnabled());
    EXPECT_THAT(announced, testing::ElementsAre(false, true));
}

TEST(OSGWidget, GivenApplicationState_ReportsIt) {
    ktOSGWidgetState::setRaytracing(3);
    ktOSGWidgetState::setMGLWCount(2);
    EXPECT_EQ(ktOSGWidget::getRaytracing(), 3);
    EXPECT_EQ(ktOSGWidget::getMGLWCount(), 2);
    ktOSGWidgetState::setMGLWCount(-1);
    EXPECT_EQ(ktOSGWidget::getMGLWCount(), 0);
    ktOSGWidgetState::setRaytracing(0);
}
