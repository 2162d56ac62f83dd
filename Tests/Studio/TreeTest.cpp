// SPDX-License-Identifier: LGPL-2.1-or-later
// The tree of a scene with very many nodes.
#include "ktBoxScene.h"
#include "ktStudioFixture.h"

#include <QHeaderView>
#include <QPaintEvent>
#include <QRegion>
#include <QTreeView>

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
    emit window->getServices().summaries.changed();
    const QRect third = tree().visualRect(tree().model()->index(3, 0));
    EXPECT_TRUE(waitFor([&] { return painted.region.contains(third); }));
}
