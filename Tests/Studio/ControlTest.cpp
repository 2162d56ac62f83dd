// SPDX-License-Identifier: LGPL-2.1-or-later
// View modes by keyboard, names for screen readers, what the next start keeps, and many windows one after the other.
#include "ktMessageBar.h"
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktStudioPreferences.h"
#include "ktUndoStack.h"

#include <gmock/gmock.h>
#include <malloc.h>
#include <OpenSG/OSGFieldContainerFactory.h>
#include <QAccessible>
#include <QApplication>
#include <QDialog>
#include <QDockWidget>
#include <QtTest>
#include <set>
#include <vector>

#ifdef __SANITIZE_ADDRESS__
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // gcc has the function, but not its header
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

/// The widgets below that take the keyboard and have no name that a screen reader could say. A tooltip is none.
std::set<std::string> namelessBelow(const QWidget& top) {
    std::set<std::string> nameless;
    for (QWidget* widget : top.findChildren<QWidget*>()) {
        // Of the tabs of docks, each one has a name.
        const bool isOfQt = widget->objectName().startsWith("qt_") || widget->inherits("QTabBar");
        const bool isHere = widget->window() == top.window(); // not a list that Qt drops down
        // The field of a list or a number speaks for itself and for what is around it.
        const bool isField = widget->parentWidget()->focusProxy() == widget || widget->focusProxy();
        QAccessibleInterface* const reader = QAccessible::queryAccessibleInterface(widget);
        if (isHere && !isOfQt && !isField && (widget->focusPolicy() & Qt::TabFocus) == Qt::TabFocus &&
            (!reader || reader->text(QAccessible::Name).isEmpty()))
            nameless.insert((widget->parentWidget()->objectName() + "/" + widget->metaObject()->className() + "/" +
                             widget->objectName())
                                .toStdString());
    }
    return nameless;
}

class StudioControls : public ktStudioFixture {
protected:
    ktStudioOptions options() { return window->getDocument().getOptions(); }
};

} // namespace

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

TEST_F(StudioControls, GivenWidgetsThatTakeTheKeyboard_ScreenReadersCanNameThem) {
    open(writeBoxes());
    EXPECT_THAT(namelessBelow(*window), testing::IsEmpty());
    ktMessageBar& messages = window->getMessages();
    messages.show(ktMessageBar::Level::Warning, "text", {{"Yes", {}}, {"No", {}}});
    EXPECT_THAT(namelessBelow(messages), testing::IsEmpty());
    for (const char* command :
         {"readingOptions", "savePicture", "saveTurntable", "savePreview", "commands", "shortcuts"}) {
        bool isDone = false;
        whenDialogShows([&](QWidget& dialog) {
            EXPECT_THAT(namelessBelow(dialog), testing::IsEmpty()) << command;
            isDone = true;
            static_cast<QDialog&>(dialog).reject();
        });
        trigger(command);
        EXPECT_TRUE(waitFor([&] { return isDone && !QApplication::activeModalWidget(); })) << command;
    }
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
