// SPDX-License-Identifier: LGPL-2.1-or-later
// Bakes, cancels, clears and undoes in the window.
#include "ktAmbientOcclusion.h"
#include "ktHostSignals.h"
#include "ktNodeMarks.h"
#include "ktResultState.h"
#include "ktStudioFixture.h"
#include "ktUndoMemory.h"
#include "ktUndoStack.h"

#include <functional>
#include <gmock/gmock.h>
#include <QAction>
#include <QJsonObject>
#include <QLabel>
#include <QtTest>

using StudioRun = ktStudioFixture;

namespace {

/// Calls `act` once, when the run has traced something.
void whenTracing(QObject* receiver, const std::function<void()>& act) {
    auto* const once = new QObject(receiver);
    QObject::connect(&ktHostSignals::the(), &ktHostSignals::tracingProgress, once, [once, act](quint64 done, quint64) {
        if (done == 0)
            return;
        once->disconnect();
        once->deleteLater();
        QObject::disconnect(&ktHostSignals::the(), nullptr, once, nullptr);
        act();
    });
}

} // namespace

TEST_F(StudioRun, GivenScene_BakesTheBytesOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    trigger("start");
    EXPECT_TRUE(savedBytes() == bakedByKtbake(scene));
}

TEST_F(StudioRun, GivenBake_TheLogTellsWhatWasDone) {
    open(writeBoxes());
    const auto linesWith = [this](const QString& text) {
        const QAbstractItemModel& log = window->getServices().log;
        int count = 0;
        for (int row = 0; row < log.rowCount(); ++row)
            count += log.index(row, 0).data().toString().contains(text);
        return count;
    };
    EXPECT_EQ(linesWith("Baked: "), 0);
    trigger("start");
    EXPECT_EQ(linesWith("Baked: 2 geometries"), 1);
}

TEST_F(StudioRun, GivenCancelAndSecondBake_SavesTheBytesOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    const std::string before = savedBytes();
    ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(true); // a second pass, so that none is finished
    bool wasFrozen = false;
    whenTracing(window.get(), [&] {
        wasFrozen = !action("start").isEnabled() && !action("undo").isEnabled() && !action("open").isEnabled();
        trigger("cancel");
    });
    trigger("start");
    EXPECT_TRUE(wasFrozen);
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("Cancelled"));
    EXPECT_FALSE(window->getRun().isRunning());
    EXPECT_TRUE(savedBytes() == before);
    trigger("start");
    EXPECT_TRUE(savedBytes() == bakedByKtbake(scene, {"--indirect"}));
}

TEST_F(StudioRun, GivenUndoAndRedo_SavesTheBytesBeforeAndAfter) {
    open(writeBoxes());
    const std::string before = savedBytes();
    trigger("start");
    const std::string after = savedBytes();
    EXPECT_FALSE(before == after);
    trigger("undo");
    EXPECT_TRUE(savedBytes() == before);
    trigger("redo");
    EXPECT_TRUE(savedBytes() == after);
}

TEST_F(StudioRun, GivenUndoOfRefinement_SavesTheBytesBeforeAndAfter) {
    ktAmbientOcclusion::the()->setSubdivideEnabled(true);
    ktAmbientOcclusion::the()->setMinEdgeLength(200);
    const std::string scene = writeBoxes();
    open(scene);
    const std::string before = savedBytes();
    trigger("start");
    const std::string after = savedBytes();
    EXPECT_TRUE(after == bakedByKtbake(scene, {"--subdivide", "--min-edge-length", "200"}));
    EXPECT_GT(after.size(), before.size() + 1000) << "refined";
    trigger("undo");
    EXPECT_TRUE(savedBytes() == before);
    trigger("redo");
    EXPECT_TRUE(savedBytes() == after);
}

TEST_F(StudioRun, GivenManyResults_CopiesThemAsideAndSwapsThemBack) {
    const auto results = osg::GeoTexCoords4f::create();
    const auto positions = osg::GeoPositions3f::create();
    results->resize(100000);
    positions->resize(100000);
    const auto geometry = osg::Geometry::create();
    geometry->setPositions(positions);
    geometry->setTexCoords7(results);
    const osg::NodeRefPtr node(osg::makeNodeFor(geometry));
    osg::Vec4f& last = results->getFieldPtr()->back();
    last = osg::Vec4f(1, 2, 3, 0.5f);
    int copies = 0;
    const auto aside = [&copies](const std::function<void()>& copy) {
        ++copies;
        copy();
    };
    ktResultState unchanged({node.get()}, aside), changed({node.get()}, aside);
    EXPECT_EQ(copies, 2);
    unchanged.keepChanges();
    EXPECT_TRUE(unchanged.isEmpty());
    last = osg::Vec4f(1, 2, 3, 0.75f);
    changed.keepChanges();
    EXPECT_FALSE(changed.isEmpty());
    changed.swap();
    EXPECT_EQ(results->getField().back(), osg::Vec4f(1, 2, 3, 0.5f));
    changed.swap();
    EXPECT_EQ(results->getField().back(), osg::Vec4f(1, 2, 3, 0.75f));
}

TEST_F(StudioRun, GivenSmallMemoryLimit_UndoReadsResultsBackFromFiles) {
    const std::uint64_t limit = ktUndoMemory::getLimit();
    ktUndoMemory::setLimit(100);
    open(writeBoxes());
    const std::string before = savedBytes();
    trigger("start");
    const std::string after = savedBytes();
    EXPECT_LE(ktUndoMemory::getUsed(), 100u);
    trigger("undo");
    EXPECT_TRUE(savedBytes() == before);
    trigger("redo");
    EXPECT_TRUE(savedBytes() == after);
    ktUndoMemory::setLimit(limit);
}

TEST_F(StudioRun, GivenClearing_IsOneUndoStep) {
    open(writeBoxes());
    trigger("start");
    const std::string baked = savedBytes();
    trigger("clearShadows");
    EXPECT_FALSE(savedBytes() == baked);
    trigger("undo");
    EXPECT_TRUE(savedBytes() == baked);
}

TEST_F(StudioRun, GivenNothingSelected_SaysSoAndOffersToBakeEverything) {
    open(writeBoxes());
    trigger("selectNone");
    trigger("start");
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("Nothing is selected"));
    EXPECT_FALSE(window->getDocument().isModified());
    pressInMessage("Bake everything");
    EXPECT_TRUE(window->getDocument().isModified());
}

TEST_F(StudioRun, GivenLockedScene_SaysWhatToDo) {
    open(writeBoxes());
    for (const osg::NodePtr& node : window->getDocument().getTopNodes())
        ktNodeMarks::setLocked(node, true);
    trigger("start");
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("locked"));
}

TEST_F(StudioRun, GivenMinimumAboveMaximum_Refuses) {
    open(writeBoxes());
    ktAmbientOcclusion::the()->setMinDistance(4000);
    trigger("start");
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("smaller than the maximum"));
    EXPECT_FALSE(window->getDocument().isModified());
}

TEST_F(StudioRun, GivenHalfBakedScene_BakesOnlyWhatIsMissing) {
    const std::string scene = writeBoxes();
    open(scene);
    window->getSelection().selectByText("left");
    trigger("start");
    const std::string half = folder.file("half.glb");
    ASSERT_TRUE(window->getDocument().saveAs(QString::fromStdString(half)));
    trigger("selectAll");
    trigger("startMissing");
    EXPECT_EQ(window->getSelection().get().size(), window->getDocument().getTopNodes().size()) << "as before the run";
    EXPECT_TRUE(savedBytes() == bakedByKtbake(half, {"--missing"}));
    trigger("startMissing");
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("Nothing is missing"));
}

TEST_F(StudioRun, GivenCloseWhileBaking_CancelsAndCloses) {
    open(writeBoxes());
    ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(true); // a second pass, so that none is finished
    whenTracing(window.get(), [&] { EXPECT_FALSE(window->close()); });
    trigger("start");
    EXPECT_TRUE(waitFor([&] { return !window->isVisible(); }));
    EXPECT_FALSE(window->getDocument().isModified());
}

TEST_F(StudioRun, GivenKeysThatBake_TheKeyboardIsWhereItWas) {
    open(writeBoxes());
    ktAmbientOcclusion::the()->setShadowQuality(0);
    for (const char* name : {"max-distance", "sceneSearch"}) {
        ASSERT_TRUE(hasKeys());
        auto* const field = window->findChild<QWidget*>(name);
        field->setFocus();
        ASSERT_TRUE(field->hasFocus());
        QTest::keyClick(field, Qt::Key_B, Qt::ControlModifier);
        EXPECT_TRUE(window->isWindowModified());
        EXPECT_TRUE(field->hasFocus()) << name;
        trigger("undo");
    }
    auto* const bake = window->findChild<QWidget*>("bakeButton");
    bake->setFocus();
    QTest::keyClick(bake, Qt::Key_Space);
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(bake->hasFocus());
}

TEST_F(StudioRun, GivenFittedBake_TheNextEstimateKnowsItsRays) {
    open(writeBoxes());
    ktAmbientOcclusion::the()->setShadowQuality(0);
    EXPECT_TRUE(window->getRun().isEstimateLow());
    const double vertexRays = window->getRun().estimateRays();
    trigger("start");
    const QJsonObject rays =
        window->getServices().statistics.describe(window->getDocument().getRoot())["raysTraced"].toObject();
    const double traced = rays["direct"].toDouble() + rays["indirect"].toDouble();
    EXPECT_GT(traced, 2 * vertexRays);
    EXPECT_FALSE(window->getRun().isEstimateLow());
    EXPECT_NEAR(window->getRun().estimateRays(), traced, 1e-9 * traced);
    ktStudioOptions options;
    options.fit = ktFitMode::Vertices;
    window->getDocument().setOptions(options, "fit");
    EXPECT_EQ(window->getRun().estimateRays(), vertexRays);
    EXPECT_FALSE(window->getRun().isEstimateLow());
}

TEST_F(StudioRun, GivenOtherSelectionDuringWork_TheEstimateFollowsAfterIt) {
    open(writeBoxes());
    const auto* const estimate = window->findChild<QLabel*>("estimate");
    EXPECT_TRUE(waitFor([estimate] { return estimate->text().contains("rays"); }));
    {
        const ktStudioDocument::Work work(window->getDocument(), "work");
        window->getSelection().clear();
        QTest::qWait(300); // the estimate is due meanwhile
    }
    EXPECT_TRUE(waitFor([estimate] { return estimate->text() == "Nothing is selected."; }));
}
