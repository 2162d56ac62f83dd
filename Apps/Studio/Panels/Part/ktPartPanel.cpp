// SPDX-License-Identifier: LGPL-2.1-or-later
// Shows what the selection holds, and changes texts of a node.
#include "ktPartPanel.h"

#include "ktAmbientOcclusion.h"
#include "ktHostSignals.h"
#include "ktStudioServices.h"

#include <algorithm>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QPushButton>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int mostMaterials = 12; // that are named
constexpr double slice_ms = 8;    // of counting, between other events

QString number(std::uint64_t count) {
    return QLocale().toString(static_cast<qulonglong>(count));
}

} // namespace

ktHistogram::ktHistogram(QWidget* parent) : QWidget(parent) {
    setMinimumHeight(60);
    setToolTip(tr("How many vertices have which w: left 0, fully occluded; right 1, open"));
    setAccessibleName(tr("Histogram of w"));
}

void ktHistogram::set(const ktPartFacts& newFacts) {
    facts = newFacts;
    update();
}

void ktHistogram::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    const std::uint64_t most = *std::max_element(facts.histogram.begin(), facts.histogram.end());
    if (most == 0)
        return;
    const double step = static_cast<double>(width()) / ktPartFacts::bins;
    for (int bin = 0; bin < ktPartFacts::bins; ++bin) {
        const double share =
            static_cast<double>(facts.histogram[static_cast<std::size_t>(bin)]) / static_cast<double>(most);
        painter.fillRect(QRectF(bin * step, height() * (1 - share), step - 1, height() * share), palette().highlight());
    }
}

ktPartPanel::ktPartPanel(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), settle(new QTimer(this)), collecting(new QTimer(this)),
      name(new QLabel(this)), counts(new QLabel(this)), results(new QLabel(this)), settings(new QLabel(this)),
      materials(new QLabel(this)), histogram(new ktHistogram(this)),
      useSettings(new QPushButton(tr("Use these settings"), this)), addText(new QPushButton(tr("Add"), this)),
      removeText(new QPushButton(tr("Remove"), this)), texts(new QTableWidget(0, 2, this)) {
    auto* rows = new QVBoxLayout(this);
    counts->setObjectName("partCounts");
    results->setObjectName("partResults");
    for (QLabel* label : {name, counts, results, settings, materials}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    }
    QFont strong = name->font();
    strong.setBold(true);
    name->setFont(strong);
    useSettings->setObjectName("useSettings");
    useSettings->setToolTip(tr("Load the settings of this bake into the calculation"));
    texts->setObjectName("texts");
    texts->setHorizontalHeaderLabels({tr("Text"), tr("Value")});
    texts->horizontalHeader()->setStretchLastSection(true);
    texts->verticalHeader()->hide();
    texts->setMinimumHeight(90);
    texts->setAccessibleName(tr("Texts of the node"));
    texts->setToolTip(tr("Texts that the file keeps with the node; a double click changes one"));
    addText->setObjectName("addText");
    addText->setToolTip(tr("Add a text to the node"));
    removeText->setObjectName("removeText");
    removeText->setToolTip(tr("Remove the current text"));
    rows->addWidget(name);
    rows->addWidget(counts);
    rows->addWidget(results);
    rows->addWidget(histogram);
    rows->addWidget(settings);
    rows->addWidget(useSettings);
    rows->addWidget(materials);
    rows->addWidget(texts, 2);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(addText);
    buttons->addWidget(removeText);
    rows->addLayout(buttons);
    rows->addStretch(1);

    settle->setSingleShot(true);
    settle->setInterval(150);
    connect(settle, &QTimer::timeout, this, &ktPartPanel::show);
    connect(collecting, &QTimer::timeout, this, &ktPartPanel::collect);
    const auto later = [this] {
        collector.reset(); // its nodes may be gone
        collecting->stop();
        settle->start();
    };
    connect(&services.selection, &ktStudioSelection::changed, this, later);
    connect(&services.document, &ktStudioDocument::opened, this, later);
    connect(&ktHostSignals::the(), &ktHostSignals::sceneChanged, this, later);
    connect(&services, &ktStudioServices::frozenChanged, this, [this, later](bool isFrozen) {
        setDisabled(isFrozen);
        later();
    });
    connect(useSettings, &QPushButton::clicked, this,
            [this] { ktAmbientOcclusion::the()->loadFromNode(settingsNode); });
    connect(texts, &QTableWidget::cellChanged, this, &ktPartPanel::changeText);
    connect(addText, &QPushButton::clicked, this, [this] {
        std::string key = tr("name").toStdString();
        const auto all = ktStudioEdit::getTexts(textNode());
        while (std::any_of(all.begin(), all.end(), [&](const auto& pair) { return pair.first == key; }))
            key += "2";
        services.edit.setText(textNode(), key, std::string());
        show();
        texts->setCurrentCell(texts->rowCount() - 1, 1);
        texts->setFocus();
    });
    connect(removeText, &QPushButton::clicked, this, [this] {
        if (const QTableWidgetItem* key = texts->item(texts->currentRow(), 0))
            services.edit.setText(textNode(), key->text().toStdString(), {});
    });
    show();
}

void ktPartPanel::showEvent(QShowEvent*) {
    if (isOutdated)
        settle->start(0);
}

osg::NodePtr ktPartPanel::textNode() const {
    const std::vector<osg::NodePtr> nodes = services.selection.get();
    return nodes.size() == 1 ? nodes.front() : osg::NodePtr();
}

void ktPartPanel::show() {
    if (services.isFrozen())
        return;
    // Counting takes time, so nothing is counted that nobody sees.
    isOutdated = !isVisible();
    if (isOutdated)
        return;
    collector = std::make_unique<ktPartCollector>(services.selection.get());
    collecting->start(0);
    collect();
    showTexts();
}

void ktPartPanel::collect() {
    if (!collector)
        return collecting->stop();
    if (!collector->advance(slice_ms))
        return;
    collecting->stop();
    const ktPartFacts facts = collector->getFacts();
    collector.reset();
    showFacts(facts);
}

void ktPartPanel::showFacts(const ktPartFacts& facts) {
    const std::vector<osg::NodePtr> nodes = services.selection.get();
    name->setText(nodes.empty()       ? tr("Nothing is selected.")
                  : nodes.size() == 1 ? ktStudioEdit::nameOf(nodes.front())
                                      : tr("%n parts", "", static_cast<int>(nodes.size())));
    QString counted = tr("Geometries: %1, vertices: %2, triangles: %3")
                          .arg(number(facts.geometries), number(facts.vertices), number(facts.triangles));
    if (facts.trianglesOfUses != facts.triangles)
        counted += " " + tr("(%1 with all uses)").arg(number(facts.trianglesOfUses));
    counts->setText(counted);
    counts->setVisible(!nodes.empty());
    results->setText(facts.withResults == 0 ? tr("No results.")
                                            : tr("w: least %L1, mean %L2; %L3 % of the vertices are below %L4")
                                                  .arg(facts.least, 0, 'f', 3)
                                                  .arg(facts.mean, 0, 'f', 3)
                                                  .arg(100 * facts.darkShare, 0, 'f', 1)
                                                  .arg(static_cast<double>(ktPartFacts::dark)));
    results->setVisible(!nodes.empty());
    histogram->set(facts);
    histogram->setVisible(facts.withResults > 0);
    settingsNode = facts.settingsNode;
    settings->setText(tr("Last bake: %1").arg(facts.settings.join(", ")));
    settings->setVisible(settingsNode != osg::NullFC);
    useSettings->setVisible(settingsNode != osg::NullFC);
    QStringList names;
    for (const ktPartFacts::Material& material : facts.materials) {
        const QString text = material.name.isEmpty() ? tr("(without a name)") : material.name;
        names << (material.isTransparent ? tr("%1 (transparent)").arg(text) : text);
    }
    names.removeDuplicates();
    if (const int more = names.size() - mostMaterials; more > 0)
        names = names.mid(0, mostMaterials) << tr("and %1 more").arg(more);
    materials->setText(tr("Materials: %1").arg(names.join(", ")));
    materials->setVisible(!names.isEmpty());
}

void ktPartPanel::showTexts() {
    isShowing = true;
    const osg::NodePtr node = textNode();
    const auto pairs =
        node == osg::NullFC ? std::vector<std::pair<std::string, std::string>>() : ktStudioEdit::getTexts(node);
    texts->setRowCount(static_cast<int>(pairs.size()));
    for (int row = 0; row < texts->rowCount(); ++row) {
        const auto& [key, value] = pairs[static_cast<std::size_t>(row)];
        auto* keyItem = new QTableWidgetItem(QString::fromStdString(key));
        keyItem->setData(Qt::UserRole, keyItem->text());
        texts->setItem(row, 0, keyItem);
        texts->setItem(row, 1, new QTableWidgetItem(QString::fromStdString(value)));
    }
    for (QWidget* widget :
         {static_cast<QWidget*>(texts), static_cast<QWidget*>(addText), static_cast<QWidget*>(removeText)})
        widget->setVisible(node != osg::NullFC);
    isShowing = false;
}

void ktPartPanel::changeText(int row, int column) {
    const QTableWidgetItem *key = texts->item(row, 0), *value = texts->item(row, 1);
    if (isShowing || !key || !value)
        return;
    const QString before = key->data(Qt::UserRole).toString();
    const std::string text = value->text().toStdString();
    if (column == 1)
        services.edit.setText(textNode(), before.toStdString(), text);
    else
        services.edit.renameText(textNode(), before.toStdString(), key->text().toStdString());
}
