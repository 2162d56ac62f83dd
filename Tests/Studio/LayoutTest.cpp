// SPDX-License-Identifier: LGPL-2.1-or-later
// Docks and tool bars that are closed and moved, and the layout that brings them back.
#include "ktStudioFixture.h"

#include <cstdlib>
#include <map>
#include <QAbstractButton>
#include <QApplication>
#include <QDockWidget>
#include <QTabBar>
#include <QToolBar>
#include <QtTest>

namespace {

/// Where a dock is.
struct DockPlace {
    bool isShown, isFloating, isInFront; // of those that share its place
    int area;
    QStringList tabbedWith;
    QRect geometry; // in the window; null behind another one

    bool isNear(const DockPlace& other) const {
        constexpr int most_px = 12; // docks in a column share its height a little differently
        const QRect& a = geometry;
        const QRect& b = other.geometry;
        return isShown == other.isShown && isFloating == other.isFloating && isInFront == other.isInFront &&
               area == other.area && tabbedWith == other.tabbedWith && std::abs(a.left() - b.left()) <= most_px &&
               std::abs(a.top() - b.top()) <= most_px && std::abs(a.width() - b.width()) <= most_px &&
               std::abs(a.height() - b.height()) <= most_px;
    }
};

class StudioLayout : public ktStudioFixture {
protected:
    StudioLayout() { EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get())); }

    QDockWidget& dock(const char* name) { return find<QDockWidget>(name); }

    std::map<QString, DockPlace> places() {
        QCoreApplication::processEvents(); // layouts
        std::map<QString, DockPlace> all;
        for (QDockWidget* const each : window->findChildren<QDockWidget*>()) {
            QStringList others;
            for (const QDockWidget* const other : window->tabifiedDockWidgets(each))
                others << other->objectName();
            others.sort();
            const bool isInFront = !each->visibleRegion().isEmpty();
            all[each->objectName()] = {!each->isHidden(),
                                       each->isFloating(),
                                       isInFront,
                                       int(window->dockWidgetArea(each)),
                                       others,
                                       each->isFloating() || !isInFront ? QRect() : each->geometry()};
        }
        return all;
    }

    void close(QDockWidget& which) {
        auto* const button = which.findChild<QAbstractButton*>("qt_dockwidget_closebutton");
        ASSERT_TRUE(button);
        QTest::mouseClick(button, Qt::LeftButton);
        EXPECT_TRUE(which.isHidden()) << which.objectName().toStdString();
    }

    /// Drags a dock by its title, from where it is to a place in the window.
    void drag(QDockWidget& which, const QPoint& to) {
        const QPoint title(30, 8), end = window->mapToGlobal(to);
        const auto move = [&](const QPoint& global) {
            const QPoint place = which.mapFromGlobal(global);
            QMouseEvent event(QEvent::MouseMove, place, global, Qt::NoButton, Qt::LeftButton, {});
            QApplication::sendEvent(&which, &event);
            QCoreApplication::processEvents();
        };
        const QPoint start = which.mapToGlobal(title);
        QTest::mousePress(&which, Qt::LeftButton, {}, title);
        for (int step = 1; step <= 8; ++step)
            move(start + (end - start) * step / 8);
        QTest::mouseRelease(&which, Qt::LeftButton, {}, which.mapFromGlobal(end));
        QCoreApplication::processEvents();
    }

    static std::string textOf(const QRect& place) {
        return QString("%1 %2 %3 x %4")
            .arg(place.x())
            .arg(place.y())
            .arg(place.width())
            .arg(place.height())
            .toStdString();
    }

    void expectPlaces(const std::map<QString, DockPlace>& expected) {
        for (const auto& [name, place] : places())
            EXPECT_TRUE(place.isNear(expected.at(name)))
                << name.toStdString() << ": shown " << place.isShown << ", floating " << place.isFloating << ", area "
                << place.area << ", tabbed with " << place.tabbedWith.join(' ').toStdString() << ", at "
                << textOf(place.geometry) << " and not at " << textOf(expected.at(name).geometry);
    }
};

} // namespace

TEST_F(StudioLayout, GivenClosedAndDraggedDocks_RestoringBringsAllBack) {
    const std::map<QString, DockPlace> first = places();
    ASSERT_EQ(first.size(), 8u);
    close(dock("sceneDock"));
    close(dock("logDock"));
    close(dock("calculationDock"));
    drag(dock("partDock"), QPoint(window->width() / 2, window->height() / 2 - 60)); // over the picture
    EXPECT_TRUE(dock("partDock").isFloating());
    QTest::mouseDClick(&dock("runDock"), Qt::LeftButton, {}, QPoint(30, 8));
    EXPECT_TRUE(dock("runDock").isFloating());
    trigger("resetLayout");
    expectPlaces(first);
    for (const char* const name : {"logDock", "calculationDock"})
        EXPECT_FALSE(dock(name).visibleRegion().isEmpty()) << name << " is before those that share its place";
}

TEST_F(StudioLayout, GivenDockThatStillMoves_RestoringBringsItBack) {
    const std::map<QString, DockPlace> first = places();
    for (const char* const name : {"partDock", "sceneDock", "runDock"}) {
        drag(dock(name), QPoint(window->width() / 2, window->height() / 2 - 60));
        trigger("resetLayout"); // the others move aside for some time
        expectPlaces(first);
    }
}

TEST_F(StudioLayout, GivenDockDraggedToAnotherSide_StaysThereAlsoAfterTheNextStart) {
    const std::map<QString, DockPlace> first = places();
    ASSERT_EQ(first.at("sceneDock").area, int(Qt::LeftDockWidgetArea));
    drag(dock("sceneDock"), QPoint(window->width() - 10, window->height() / 2));
    EXPECT_TRUE(QTest::qWaitFor([this] { return !dock("sceneDock").isFloating(); })) << "it moves to its place";
    EXPECT_EQ(window->dockWidgetArea(&dock("sceneDock")), Qt::RightDockWidgetArea);
    const QRect picture = window->centralWidget()->geometry();
    EXPECT_GT(dock("sceneDock").geometry().left(), picture.right());
    EXPECT_FALSE(dock("sceneDock").visibleRegion().isEmpty());
    window->close();
    window = std::make_unique<ktStudioWindow>();
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    EXPECT_EQ(window->dockWidgetArea(&dock("sceneDock")), Qt::RightDockWidgetArea) << "the layout is kept";
    trigger("resetLayout");
    expectPlaces(first);
}

TEST_F(StudioLayout, GivenLayoutOfTheLastStart_RestoringBringsTheFirstOne) {
    const std::map<QString, DockPlace> first = places();
    const QSize size = window->size();
    close(dock("sceneDock"));
    close(dock("runDock"));
    find<QToolBar>("viewToolBar").hide();
    window->close();
    window = std::make_unique<ktStudioWindow>();
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    ASSERT_EQ(window->size(), size);
    EXPECT_TRUE(dock("sceneDock").isHidden()) << "the layout is kept";
    EXPECT_TRUE(find<QToolBar>("viewToolBar").isHidden());
    trigger("resetLayout");
    expectPlaces(first);
    EXPECT_FALSE(find<QToolBar>("viewToolBar").isHidden());
}
