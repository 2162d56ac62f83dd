// SPDX-License-Identifier: LGPL-2.1-or-later
// The tree of a scene with very many nodes.
#include "ktBoxScene.h"
#include "ktStudioFixture.h"

#include <algorithm>
#include <QCoreApplication>
#include <QHeaderView>
#include <QPaintEvent>
#include <QRegion>
#include <QTreeView>
#include <set>

namespace {

/// What a widget has painted since.
class PaintedRegion : public QObject {
public:
    explicit PaintedRegion(QWidget& widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            region += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
    QRegion region;
};

class StudioTree : public ktStudioFixture {
protected:
    static constexpr int count = 3000;

    QTreeView& tree() { return *window->findChild<QTreeView*>("sceneTree"); }

    std::string writeSiblings() {
        nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}});
        for (int i = 1; i < count; ++i) {
            scene["nodes"].push_back({{"name", "box" + std::to_string(i)}, {"mesh", 0}});
            scene["scenes"][0]["nodes"].push_back(i);
        }
        return folder.write("many.gltf", scene.dump());
    }
};

} // namespace

TEST_F(StudioTree, GivenManySiblings_ShowsTheirSelectionInFewSteps) {
    int steps = 0;
    QObject::connect(tree().model(), &QAbstractItemModel::rowsInserted, window.get(), [&steps] { ++steps; });
    open(writeSiblings());
    EXPECT_EQ(tree().model()->rowCount(), count);
    EXPECT_EQ(tree().selectionModel()->selectedRows().size(), count);
    EXPECT_LE(steps, 5) << "each lays out the tree";
    window->getSelection().set({window->getDocument().getTopNodes()[7], window->getDocument().getTopNodes()[5]});
    EXPECT_EQ(tree().selectionModel()->selectedRows().size(), 2);
    EXPECT_TRUE(tree().selectionModel()->isRowSelected(5, {}));
    EXPECT_TRUE(tree().selectionModel()->isRowSelected(7, {}));
}

TEST_F(StudioTree, GivenSelectionWithGaps_ShowsItInAnyOrder) {
    open(writeSiblings());
    const std::vector<osg::NodePtr> all = window->getDocument().getTopNodes();
    std::set<int> rows;
    std::vector<osg::NodePtr> nodes;
    for (int row = 4; row < count; row += 10) {
        rows.insert(row);
        nodes.push_back(all[static_cast<std::size_t>(row)]);
    }
    std::rotate(nodes.begin(), nodes.begin() + count / 20, nodes.end()); // from the middle to the end, then the rest
    std::iter_swap(nodes.begin() + 7, nodes.begin() + 60);
    window->getSelection().set(nodes);
    std::set<int> shown;
    for (const QModelIndex& index : tree().selectionModel()->selectedRows())
        shown.insert(index.row());
    EXPECT_EQ(shown, rows);
}

TEST_F(StudioTree, GivenManySiblings_TheirCountsAndTheirSelectionMakeTheViewAskFewRows) {
    int told = 0, rows = 0;
    QObject::connect(&window->getServices().summaries, &ktNodeSummaries::changed, window.get(), [&told] { ++told; });
    QObject::connect(
        tree().model(), &QAbstractItemModel::dataChanged, window.get(),
        [&rows](const QModelIndex& first, const QModelIndex& last) { rows += last.row() - first.row() + 1; });
    open(writeSiblings());
    EXPECT_TRUE(waitFor([this] { return window->getServices().summaries.isComplete(); }));
    EXPECT_GT(told, 0);
    EXPECT_LE(rows, told) << "a view goes through all rows that are named";
    // Each time it is drawn, a header goes through all selected rows for each of its columns.
    EXPECT_FALSE(tree().header()->selectionModel()->hasSelection());
    EXPECT_EQ(tree().selectionModel()->selectedRows().size(), count);
    // The news are seen all the same, also in other rows than the first.
    EXPECT_EQ(tree().model()->index(3, tree().header()->count() - 1).data().toString(), "12") << "triangles";
    PaintedRegion painted(*tree().viewport());
    EXPECT_TRUE(waitFor([&] { // until nothing else draws it
        painted.region = {};
        QCoreApplication::processEvents();
        return painted.region.isEmpty();
    }));
    emit window->getServices().summaries.changed();
    const QRect third = tree().visualRect(tree().model()->index(3, 0));
    EXPECT_TRUE(waitFor([&] { return painted.region.contains(third); }));
}
