// SPDX-License-Identifier: LGPL-2.1-or-later
// Shows the scene graph as a Qt model and fills it as it is opened.
#include "ktSceneModel.h"

#include "ktSceneSigns.h"
#include "ktStudioServices.h"

#include <algorithm>
#include <QLocale>

namespace {

constexpr std::size_t fetchedAtOnce = 500;

} // namespace

struct ktSceneModel::Item {
    osg::NodePtr node;
    Item* above = nullptr;
    int row = 0;
    std::vector<std::unique_ptr<Item>> below; // the first children of the node
    osg::UInt32 lastFound = 0;                // row of the child that was looked for last
};

ktSceneModel::ktSceneModel(ktStudioServices& services_, QObject* parent)
    : QAbstractItemModel(parent), services(services_) {
    connect(&services.document, &ktStudioDocument::opened, this, &ktSceneModel::reset);
    connect(&services.document, &ktStudioDocument::filesChanged, this, &ktSceneModel::reset);
    // Counting tells of news many times, and a view goes through all rows that are named. So one row is, which is
    // enough for the widths of the columns, and the view draws again what it shows.
    connect(&services.summaries, &ktNodeSummaries::changed, this, [this] {
        if (top && !top->below.empty())
            emit dataChanged(index(0, 0), index(0, ColumnCount - 1));
    });
    reset();
}

ktSceneModel::~ktSceneModel() = default;

void ktSceneModel::reset() {
    beginResetModel();
    top.reset();
    const std::vector<osg::NodePtr> nodes = services.document.getTreeNodes();
    if (!nodes.empty()) {
        top = std::make_unique<Item>();
        top->node = nodes.front()->getParent();
        const std::size_t count = std::min<std::size_t>(nodes.size(), fetchedAtOnce);
        for (std::size_t row = 0; row < count; ++row) {
            top->below.push_back(std::make_unique<Item>());
            *top->below.back() = {nodes[row], top.get(), static_cast<int>(row), {}};
        }
    }
    endResetModel();
}

// An index points to the item above its own. The selection asks each of its ranges for its parent whenever a cell is
// drawn, and this one is in the cache.
ktSceneModel::Item* ktSceneModel::itemOf(const QModelIndex& index) const {
    return index.isValid()
               ? static_cast<Item*>(index.internalPointer())->below[static_cast<std::size_t>(index.row())].get()
               : top.get();
}

QModelIndex ktSceneModel::indexOf(Item* item) const {
    return item && item != top.get() ? createIndex(item->row, 0, item->above) : QModelIndex();
}

osg::NodePtr ktSceneModel::nodeOf(const QModelIndex& index) const {
    return index.isValid() ? itemOf(index)->node : osg::NodePtr();
}

// Nodes are mostly asked for in their order, maybe with gaps, so the search begins at the last row that was found: from
// the first row on, finding each of a million siblings would not end.
osg::Int32 ktSceneModel::rowOf(Item* item, const osg::NodePtr& child) {
    const osg::UInt32 count = item->node->getNChildren();
    const osg::UInt32 start = item->lastFound < count ? item->lastFound : 0;
    for (osg::UInt32 i = 0; i < count; ++i) {
        const osg::UInt32 row = start + i < count ? start + i : start + i - count;
        if (item->node->getChild(row) == child)
            return static_cast<osg::Int32>(item->lastFound = row);
    }
    return -1;
}

QModelIndex ktSceneModel::indexOf(const osg::NodePtr& node) {
    std::vector<osg::NodePtr> path; // from the node up
    for (osg::NodePtr above = node; top && above != top->node; above = above->getParent()) {
        if (above == osg::NullFC)
            return {};
        path.push_back(above);
    }
    Item* item = top.get();
    for (; item && !path.empty(); path.pop_back()) {
        const osg::Int32 row = rowOf(item, path.back());
        if (row < 0)
            return {};
        if (static_cast<std::size_t>(row) >= item->below.size()) // views take long for each step
            fetch(item, std::max(static_cast<std::size_t>(row) + 1, 2 * item->below.size()));
        item = item->below[static_cast<std::size_t>(row)].get();
    }
    return indexOf(item);
}

void ktSceneModel::fetch(Item* item, std::size_t count) {
    const std::size_t first = item->below.size();
    count = std::min<std::size_t>(count, item->node->getNChildren());
    if (count <= first)
        return;
    beginInsertRows(indexOf(item), static_cast<int>(first), static_cast<int>(count) - 1);
    for (std::size_t row = first; row < count; ++row) {
        item->below.push_back(std::make_unique<Item>());
        *item->below.back() = {item->node->getChild(static_cast<osg::UInt32>(row)), item, static_cast<int>(row), {}};
    }
    endInsertRows();
}

QModelIndex ktSceneModel::index(int row, int column, const QModelIndex& parent) const {
    Item* const item = itemOf(parent);
    if (!item || row < 0 || static_cast<std::size_t>(row) >= item->below.size() || column < 0 || column >= ColumnCount)
        return {};
    return createIndex(row, column, item);
}

QModelIndex ktSceneModel::parent(const QModelIndex& index) const {
    return index.isValid() ? indexOf(static_cast<Item*>(index.internalPointer())) : QModelIndex();
}

int ktSceneModel::rowCount(const QModelIndex& parent) const {
    const Item* const item = parent.column() > 0 ? nullptr : itemOf(parent);
    return item ? static_cast<int>(item->below.size()) : 0;
}

bool ktSceneModel::hasChildren(const QModelIndex& parent) const {
    const Item* const item = parent.column() > 0 ? nullptr : itemOf(parent);
    return item && item->node->getNChildren() > 0;
}

bool ktSceneModel::canFetchMore(const QModelIndex& parent) const {
    const Item* const item = parent.column() > 0 ? nullptr : itemOf(parent);
    return item && item->below.size() < item->node->getNChildren();
}

void ktSceneModel::fetchMore(const QModelIndex& parent) {
    if (Item* const item = itemOf(parent))
        fetch(item, item->below.size() + fetchedAtOnce);
}

QVariant ktSceneModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const osg::NodePtr& node = itemOf(index)->node;
    const ktNodeSummaries::Summary* const sum = services.summaries.find(node);
    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case Name:
            return ktStudioEdit::nameOf(node);
        case Results:
            return !sum                                 ? QString("…")
                   : sum->geometries == 0               ? QString()
                   : sum->withResults == 0              ? tr("missing")
                   : sum->withResults < sum->geometries ? tr("%1 of %2").arg(sum->withResults).arg(sum->geometries)
                                                        : tr("yes");
        case Settings:
            return ktStudioEdit::hasSettings(node) ? QString(QChar(0x2713)) : QString(); // a check mark
        case Triangles:
            return sum ? QLocale().toString(static_cast<qulonglong>(sum->triangles)) : QString("…");
        default:
            return {};
        }
    case Qt::CheckStateRole:
        if (index.column() == Shown)
            return ktStudioEdit::isHidden(node) ? Qt::Unchecked : Qt::Checked;
        if (index.column() == Locked)
            return ktStudioEdit::isLocked(node) ? Qt::Checked : Qt::Unchecked;
        return {};
    case Qt::TextAlignmentRole:
        return index.column() == Triangles  ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter))
               : index.column() == Settings ? QVariant(int(Qt::AlignCenter))
                                            : QVariant();
    case Qt::AccessibleTextRole:
        if (index.column() == Settings)
            return ktStudioEdit::hasSettings(node) ? tr("yes") : QString();
        return {};
    case Qt::ToolTipRole:
        return index.column() == Name ? ktStudioEdit::nameOf(node)
                                      : headerData(index.column(), Qt::Horizontal, Qt::ToolTipRole);
    default:
        return {};
    }
}

QVariant ktSceneModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    const bool hasSign = section == Shown || section == Locked || section == Settings;
    if (role == Qt::DecorationRole && hasSign)
        return section == Shown    ? ktSceneSigns::shown()
               : section == Locked ? ktSceneSigns::locked()
                                   : ktSceneSigns::settings();
    if (role == Qt::AccessibleTextRole || (role == Qt::DisplayRole && !hasSign))
        switch (section) {
        case Name:
            return tr("Name");
        case Shown:
            return tr("Shown");
        case Locked:
            return tr("Locked");
        case Results:
            return tr("Results");
        case Settings:
            return tr("Settings");
        case Triangles:
            return tr("Triangles");
        default:
            return {};
        }
    if (role == Qt::ToolTipRole)
        switch (section) {
        case Shown:
            return tr("Shown: hidden parts occlude nothing and get no results");
        case Locked:
            return tr("Locked: results of locked parts do not change");
        case Results:
            return tr("Whether the surfaces at and below this node have results");
        case Settings:
            return tr("Settings: whether the node keeps those of its last bake");
        default:
            return {};
        }
    return {};
}

Qt::ItemFlags ktSceneModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    if (index.column() == Shown || index.column() == Locked)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

bool ktSceneModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::CheckStateRole || services.isFrozen())
        return false;
    const bool isChecked = value.toInt() == Qt::Checked;
    const osg::NodePtr node = itemOf(index)->node;
    if (index.column() != Shown && index.column() != Locked)
        return false;
    if (index.column() == Shown)
        services.edit.setHidden({node}, !isChecked);
    if (index.column() == Locked)
        services.edit.setLocked({node}, isChecked);
    emit dataChanged(index, index);
    return true;
}
