// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests the busy and modified state of the host, its signals, and when a run resets the cancel request.
#include "ktController.h"

#include "ktCancelToken.h"
#include "ktControllerState.h"
#include "ktHostSignals.h"

#include <gmock/gmock.h>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Controller : public testing::Test {
protected:
    void SetUp() override {
        ktController::setBusy(false, false);
        ktController::setModified(0);
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::busyChanged, &receiver,
                         [this](bool busy) { busySignals.push_back(busy); });
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::runEnded, &receiver, [this](const ktRunEnd& end) {
            EXPECT_TRUE(busySignals.back()) << "told before the end of the busy state";
            ends.push_back(end);
        });
        QObject::connect(&ktHostSignals::the(), &ktHostSignals::modifiedChanged, &receiver,
                         [this](bool modified) { modifiedSignals.push_back(modified); });
    }
    void TearDown() override {
        ktController::setBusy(false, false);
        ktController::setModified(0);
    }

    QObject receiver;
    std::vector<bool> busySignals;
    std::vector<bool> modifiedSignals;
    std::vector<ktRunEnd> ends;
};

} // namespace

TEST_F(Controller, GivenBusyThenNotBusy_AnnouncesBoth) {
    ktController::setBusy(true, true);
    EXPECT_TRUE(ktControllerState::isBusy());
    EXPECT_TRUE(ktControllerState::isBusyCursorShown());
    ktController::setBusy(false, true);
    EXPECT_FALSE(ktControllerState::isBusy());
    EXPECT_FALSE(ktControllerState::isBusyCursorShown());
    EXPECT_THAT(busySignals, ElementsAre(true, false));
}

TEST_F(Controller, GivenBusyTwice_OneEndIsEnough) {
    ktController::setBusy(true, false);
    ktController::setBusy(true, false);
    EXPECT_FALSE(ktControllerState::isBusyCursorShown());
    ktController::setBusy(false, false);
    EXPECT_FALSE(ktControllerState::isBusy());
    EXPECT_THAT(busySignals, ElementsAre(true, false));
}

TEST_F(Controller, GivenPendingCancel_StartResetsIt) {
    ktCancelToken::the().cancel();
    ktController::setBusy(true, true);
    EXPECT_FALSE(ktCancelToken::the().isCanceled());
}

TEST_F(Controller, GivenCanceledRun_EndKeepsTheRequest) {
    ktController::setBusy(true, true);
    ktCancelToken::the().cancel();
    ktController::setBusy(false, true);
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
}

TEST_F(Controller, GivenRunLeftBusy_NextStartResetsTheCancel) {
    ktController::setBusy(true, true);
    ktCancelToken::the().cancel();
    ktController::setBusy(true, true);
    EXPECT_FALSE(ktCancelToken::the().isCanceled());
}

TEST_F(Controller, GivenEachStart_CountsIt) {
    const unsigned long before = ktControllerState::getBusyCount();
    ktController::setBusy(true, true);
    ktController::setBusy(false, true);
    ktController::setBusy(true, true);
    EXPECT_EQ(ktControllerState::getBusyCount(), before + 2);
}

TEST_F(Controller, GivenModifiedThenSaved_AnnouncesChangesOnly) {
    ktController::setModified(1);
    ktController::setModified(1);
    EXPECT_TRUE(ktControllerState::isModified());
    ktController::setModified(0);
    EXPECT_FALSE(ktControllerState::isModified());
    EXPECT_THAT(modifiedSignals, ElementsAre(true, false));
    EXPECT_THAT(busySignals, IsEmpty());
}

TEST_F(Controller, GivenTheEndOfARun_TellsHowItEnded) {
    ktController::setBusy(true, true);
    ktController::setBusy(false, true);
    ktController::setBusy(true, true);
    ktCancelToken::the().cancel();
    ktController::setBusy(false, true);
    ktController::setBusy(true, true);
    ktController::setBusy(false, true);
    ASSERT_EQ(ends.size(), 3u);
    EXPECT_EQ(ends[0].kind, ktRunEnd::Done);
    EXPECT_EQ(ends[1].kind, ktRunEnd::Cancelled);
    EXPECT_EQ(ends[2].kind, ktRunEnd::Done);
    EXPECT_EQ(ends[2].run, ends[0].run + 2);
    EXPECT_EQ(ktControllerState::getLastRunEnd().run, ends[2].run);
}

TEST_F(Controller, GivenAnErrorInARun_TellsTheFirstReason) {
    ktController::setBusy(true, true);
    ktControllerState::failRun("no memory for the tree");
    EXPECT_TRUE(ktCancelToken::the().isCanceled());
    ktControllerState::failRun("nothing to trace");
    ktController::setBusy(false, true);
    ktController::setBusy(true, true);
    ktController::setBusy(false, true);
    ASSERT_EQ(ends.size(), 2u);
    EXPECT_EQ(ends[0].kind, ktRunEnd::Failed);
    EXPECT_EQ(ends[0].reason, "no memory for the tree");
    EXPECT_EQ(ends[1].kind, ktRunEnd::Done);
    EXPECT_EQ(ends[1].reason, "");
}
