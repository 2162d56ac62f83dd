// SPDX-License-Identifier: LGPL-2.1-or-later
// Shows, filters and copies the lines of the log.
#include "ktLogPanel.h"

#include "ktLogOutput.h"
#include "ktStudioServices.h"

#include <algorithm>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QRegularExpression>
#include <QSortFilterProxyModel>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

static constexpr int scrollDelay_ms = 50;

/// Lines up to a level that contain a text, with an icon for the level.
class ktLogPanel::Filter : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    void setMostLevel(int level) {
        mostLevel = level;
        invalidateFilter();
    }

    QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::DecorationRole)
            return QSortFilterProxyModel::data(index, role);
        const QStyle::StandardPixmap icons[] = {QStyle::SP_MessageBoxCritical, QStyle::SP_MessageBoxWarning,
                                                QStyle::SP_MessageBoxInformation};
        const int level = std::clamp(index.data(ktStudioLog::Level).toInt(), 0, 2);
        return QApplication::style()->standardIcon(icons[level]).pixmap(16);
    }

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
        const QModelIndex index = sourceModel()->index(row, 0, parent);
        return index.data(ktStudioLog::Level).toInt() <= mostLevel &&
               QSortFilterProxyModel::filterAcceptsRow(row, parent);
    }

private:
    int mostLevel = static_cast<int>(ktLogLevel::Info);
};

ktLogPanel::ktLogPanel(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), filter(new Filter(this)), list(new QListView(this)) {
    filter->setSourceModel(&services.log);
    filter->setFilterCaseSensitivity(Qt::CaseInsensitive);
    list->setObjectName("logLines");
    list->setModel(filter);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setUniformItemSizes(true);
    list->setTextElideMode(Qt::ElideMiddle); // the file's path comes first
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    list->setIconSize({size, size});
    list->setAccessibleName(tr("Log"));
    list->setToolTip(tr("A click or Enter selects the part that a line names in quotes."));

    auto* level = new QComboBox(this);
    level->setObjectName("logLevel");
    level->addItems({tr("Errors"), tr("Warnings"), tr("Everything")});
    level->setCurrentIndex(2);
    level->setAccessibleName(tr("Least severe level to show"));
    level->setToolTip(level->accessibleName());
    auto* text = new QLineEdit(this);
    text->setObjectName("logFilter");
    text->setPlaceholderText(tr("Filter"));
    text->setAccessibleName(tr("Filter"));
    text->setToolTip(tr("Show only lines that contain this text"));
    text->setClearButtonEnabled(true);
    auto* copying = new QPushButton(tr("Copy"), this);
    copying->setObjectName("logCopy");
    copying->setToolTip(tr("Copy the selected lines, or all"));
    auto* clearing = new QPushButton(tr("Clear"), this);
    clearing->setObjectName("logClear");
    clearing->setToolTip(tr("Remove all lines"));

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 4);
    auto* tools = new QHBoxLayout;
    tools->addWidget(level);
    tools->addWidget(text, 1);
    tools->addWidget(copying);
    tools->addWidget(clearing);
    rows->addLayout(tools);
    rows->addWidget(list, 1);

    connect(level, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this](int chosen) { filter->setMostLevel(chosen); });
    connect(text, &QLineEdit::textChanged, filter, &QSortFilterProxyModel::setFilterFixedString);
    connect(copying, &QPushButton::clicked, this, &ktLogPanel::copy);
    connect(clearing, &QPushButton::clicked, &services.log, &ktStudioLog::clear);
    const auto selectPart = [this](const QModelIndex& index) { selectNamed(index.data().toString()); };
    connect(list, &QListView::clicked, this, selectPart);
    connect(list, &QListView::activated, this, selectPart); // by the keyboard
    auto* scrolling = new QTimer(this);                     // to the last of several lines, when nothing else is to do
    scrolling->setSingleShot(true);
    scrolling->setInterval(scrollDelay_ms);
    connect(scrolling, &QTimer::timeout, list, &QListView::scrollToBottom);
    connect(filter, &QAbstractItemModel::rowsInserted, scrolling, QOverload<>::of(&QTimer::start));
}

void ktLogPanel::selectNamed(const QString& line) {
    auto names = QRegularExpression("\"([^\"]+)\"").globalMatch(line);
    while (names.hasNext())
        if (services.selection.selectByText(names.next().captured(1)) > 0)
            return;
}

void ktLogPanel::copy() const {
    QModelIndexList chosen = list->selectionModel()->selectedIndexes();
    std::sort(chosen.begin(), chosen.end());
    QStringList lines;
    for (const QModelIndex& index : chosen)
        lines << index.data().toString();
    for (int row = 0; chosen.isEmpty() && row < filter->rowCount(); ++row)
        lines << filter->index(row, 0).data().toString();
    QApplication::clipboard()->setText(lines.join('\n'));
}
