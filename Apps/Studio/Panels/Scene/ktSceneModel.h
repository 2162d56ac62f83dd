// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <memory>
#include <OpenSG/OSGNode.h>
#include <QAbstractItemModel>
#include <vector>

class ktStudioServices;

/// The nodes of the scene as a Qt tree. Children become items only when the tree shows them, some hundred at a time.
class ktSceneModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Column { Name, Shown, Locked, Results, Settings, Triangles, ColumnCount };

    explicit ktSceneModel(ktStudioServices& services, QObject* parent = nullptr);
    ~ktSceneModel() override;

    /// The node of an item; null for an invalid index.
    osg::NodePtr nodeOf(const QModelIndex& index) const;
    /// The item of a node, which is made if needed; invalid if the node is not in the tree.
    QModelIndex indexOf(const osg::NodePtr& node);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex&) const override { return ColumnCount; }
    bool hasChildren(const QModelIndex& parent = {}) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    struct Item;
    Item* itemOf(const QModelIndex& index) const;
    QModelIndex indexOf(Item* item) const;
    static osg::Int32 rowOf(Item* item, const osg::NodePtr& child);
    void fetch(Item* item, std::size_t count);
    void reset();

    ktStudioServices& services;
    std::unique_ptr<Item> top; ///< the node above the file's top nodes; not shown
};
