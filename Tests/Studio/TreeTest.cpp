// SPDX-License-Identifier: LGPL-2.1-or-later
// The tree of a scene with very many nodes.
#include "ktBoxScene.h"
#include "ktStudioFixture.h"

#include <QTreeView>

namespace {

class StudioTree : public ktStudioFixture {
protected:
    QTreeView& tree() { return *window->findChild<QTreeView*>("sceneTree"); }
};

} // namespace

TEST_F(StudioTree, GivenManySiblings_ShowsTheirSelectionInFewSteps) {
    constexpr int count = 3000;
    nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}});
    for (int i = 1; i < count; ++i) {
        scene["nodes"].push_back({{"name", "box" + std::to_string(i)}, {"mesh", 0}});
        scene["scenes"][0]["nodes"].push_back(i);
    }
    int steps = 0;
    QObject::connect(tree().model(), &QAbstractItemModel::rowsInserted, window.get(), [&steps] { ++steps; });
    open(folder.write("many.gltf", scene.dump()));
    EXPECT_EQ(tree().model()->rowCount(), count);
    EXPECT_EQ(tree().selectionModel()->selectedRows().size(), count);
    EXPECT_LE(steps, 5) << "each lays out the tree";
    window->getSelection().set({window->getDocument().getTopNodes()[7], window->getDocument().getTopNodes()[5]});
    EXPECT_EQ(tree().selectionModel()->selectedRows().size(), 2);
    EXPECT_TRUE(tree().selectionModel()->isRowSelected(5, {}));
    EXPECT_TRUE(tree().selectionModel()->isRowSelected(7, {}));
}
