// SPDX-License-Identifier: LGPL-2.1-or-later
// Options and view modes by keyboard, and many windows one after the other.
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktStudioPreferences.h"
#include "ktUndoStack.h"

#include <gmock/gmock.h>
#include <malloc.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QtTest>
#include <set>
#include <vector>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/allocator_interface.h>
#endif

namespace {

// Ids of field containers are not used again, so the table of them grows with each scene.
constexpr std::size_t mostGrowth = 32 * 1024, mostGrowthOfACycle = 1024;

/// Bytes on the heap now.
std::size_t allocatedBytes() {
#ifdef __SANITIZE_ADDRESS__
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

/// Number of containers that live now.
osg::UInt32 livingContainers() {
    const osg::NodeRefPtr last(osg::Node::create()); // ids only grow
    osg::UInt32 count = 0;
    for (osg::UInt32 id = 1; id < last.get().getFieldContainerId(); ++id)
        if (osg::FieldContainerFactory::the()->getContainer(id) != osg::NullFC)
            ++count;
    return count;
}

class StudioControls : public ktStudioFixture {
protected:
    ktStudioOptions options() { return window->getDocument().getOptions(); }
};

} // namespace

TEST_F(StudioControls, GivenEachOptionChangedByKeys_UndoAndRedoAreOneStep) {
    open(writeBoxes());
    window->findChild<QDockWidget*>("optionDock")->raise();
    const auto type = [](QWidget& widget, const char* text) {
        QTest::keyClick(&widget, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&widget, text);
        QTest::keyClick(&widget, Qt::Key_Return);
    };
    const std::pair<const char*, std::function<void(QWidget&)>> controls[] = {
        {"fit", [](QWidget& widget) { QTest::keyClick(&widget, Qt::Key_Up); }},
        {"tracer", [](QWidget& widget) { QTest::keyClick(&widget, Qt::Key_Up); }},
        {"threads", [](QWidget& widget) { QTest::keyClick(&widget, Qt::Key_Up); }},
        {"maxTriangles", [&](QWidget& widget) { type(widget, "5000"); }},
        {"shade", [](QWidget& widget) { QTest::keyClick(&widget, Qt::Key_Space); }},
        {"strength", [&](QWidget& widget) { type(widget, "0.5"); }},
        {"exposure", [&](QWidget& widget) { type(widget, "2"); }},
    };
    for (const auto& [name, change] : controls) {
        SCOPED_TRACE(name);
        const ktStudioOptions before = options();
        const int steps = ktUndoStack::get(0)->count();
        auto* const widget = window->findChild<QWidget*>(name);
        ASSERT_TRUE(widget);
        widget->setFocus();
        change(*widget);
        const ktStudioOptions after = options();
        EXPECT_FALSE(after == before);
        EXPECT_EQ(ktUndoStack::get(0)->count(), steps + 1);
        trigger("undo");
        EXPECT_TRUE(options() == before);
        trigger("redo");
        EXPECT_TRUE(options() == after);
    }
}

TEST_F(StudioControls, GivenKeysOfTheView_ChangeItsModeAndProjection) {
    open(writeBoxes());
    window->activateWindow();
    auto* const view = window->findChild<ktSceneView*>();
    view->setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    const std::pair<Qt::Key, ktViewMode> modes[] = {
        {Qt::Key_2, ktViewMode::Occlusion},    {Qt::Key_3, ktViewMode::IndirectLight},
        {Qt::Key_4, ktViewMode::BakedLight},   {Qt::Key_5, ktViewMode::SurfaceColours},
        {Qt::Key_6, ktViewMode::FalseColours}, {Qt::Key_1, ktViewMode::Baked},
    };
    for (const auto& [key, mode] : modes) {
        QTest::keyClick(view, key);
        EXPECT_EQ(view->viewMode(), mode);
    }
    QTest::keyClick(view, Qt::Key_P);
    EXPECT_TRUE(view->isParallelProjection());
    QTest::keyClick(view, Qt::Key_P);
    EXPECT_FALSE(view->isParallelProjection());
}

TEST_F(StudioControls, GivenFocusableWidgets_HaveNamesForScreenReaders) {
    open(writeBoxes());
    std::set<std::string> nameless;
    for (QDockWidget* dock : window->findChildren<QDockWidget*>())
        for (QWidget* widget : dock->widget()->findChildren<QWidget*>()) {
            const bool isOfQt = widget->objectName().startsWith("qt_");
            const bool isNamed = !widget->accessibleName().isEmpty() ||
                                 !widget->property("text").toString().isEmpty() || !widget->toolTip().isEmpty();
            const bool isHere = widget->window() == window.get(); // not a popup of Qt
            if (isHere && (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus && !isOfQt && !isNamed)
                nameless.insert(
                    (dock->objectName() + "/" + widget->metaObject()->className() + "/" + widget->objectName())
                        .toStdString());
        }
    EXPECT_THAT(nameless, testing::IsEmpty());
}

TEST_F(StudioControls, GivenNextStart_LayoutAndOptionsAreAsBefore) {
    window->findChild<QDockWidget*>("historyDock")->close();
    auto* const scene = window->findChild<QDockWidget*>("sceneDock");
    window->addDockWidget(Qt::RightDockWidgetArea, scene);
    window->findChild<QDockWidget*>("logDock")->setFloating(true);
    window->resize(window->minimumSizeHint() + QSize(17, 11));
    ktStudioOptions changed;
    changed.fit = ktFitMode::Vertices;
    changed.tracer = ktTracerKind::Embree;
    changed.threads = 3;
    changed.multiplyColors = false;
    changed.maxTriangles = "4x";
    changed.strength = 0.25;
    changed.exposure = 1.5;
    changed.compression = ktCompressionMode::Meshopt;
    window->getDocument().setOptions(changed, "all");
    QApplication::processEvents();
    const QSize size = window->size();
    EXPECT_TRUE(window->close());
    window = std::make_unique<ktStudioWindow>();
    window->show();
    EXPECT_TRUE(window->findChild<QDockWidget*>("historyDock")->isHidden());
    EXPECT_FALSE(window->findChild<QDockWidget*>("runDock")->isHidden());
    EXPECT_TRUE(window->findChild<QDockWidget*>("logDock")->isFloating());
    EXPECT_EQ(window->dockWidgetArea(window->findChild<QDockWidget*>("sceneDock")), Qt::RightDockWidgetArea);
    EXPECT_EQ(window->size(), size);
    EXPECT_TRUE(options() == changed);
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(StudioControls, GivenDamagedPreferences_OptionsAreTheInitialOnes) {
    for (const char* name : {"fit", "tracer", "threads", "maxTriangles", "strength", "exposure", "compression"})
        ktStudioPreferences::the().set(QString("options/") + name, "-nan");
    window = std::make_unique<ktStudioWindow>();
    EXPECT_TRUE(options() == ktStudioOptions());
}

TEST_F(StudioControls, GivenManyWindowsOneAfterTheOther_NothingStays) {
    const std::string scene = writeBoxes();
    window.reset();
    osg::UInt32 containers = 0;
    std::vector<std::size_t> heap;
    const int wanted = qEnvironmentVariableIntValue("KT_STUDIO_CYCLES"), cycles = wanted > 0 ? wanted : KT_CYCLES;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        window = std::make_unique<ktStudioWindow>();
        window->show();
        open(scene);
        if (cycle % 4 == 0)
            trigger("selectNone");
        QApplication::processEvents();
        EXPECT_TRUE(window->close());
        window.reset();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        const osg::UInt32 living = livingContainers();
        if (cycle == 0)
            containers = living;
        ASSERT_EQ(living, containers) << "cycle " << cycle;
        heap.push_back(allocatedBytes());
    }
    // Caches of Qt fill in the first cycles. A window that stays, or a part of it, takes more than this.
    const std::size_t half = heap.size() / 2, first = heap[half], last = heap.back();
    RecordProperty("growth", static_cast<int>(static_cast<std::ptrdiff_t>(last) - static_cast<std::ptrdiff_t>(first)));
    EXPECT_LE(last, first + mostGrowth + mostGrowthOfACycle * (heap.size() - half))
        << "bytes after half of the cycles and after all";
    EXPECT_TRUE(QApplication::topLevelWidgets().isEmpty());
}
